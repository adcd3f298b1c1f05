#include "BrindKit/foundation/Text.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <unicode/ubrk.h>
#include <unicode/uchar.h>
#include <unicode/ustring.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>
#include <unicode/uvernum.h>

#include <dlfcn.h>

#include <cctype>
#include <memory>
#include <optional>
#include <type_traits>

namespace brind::Text {

namespace {

// ICU is opened on first use instead of being linked: the `vantaquill` command forwards an agent's
// hook payload on every tool use, and loading and relocating ICU was most of its start-up. Programs
// that do need Unicode rules pay for the library once, the first time they ask. Only the C entry
// points are used; their names carry ICU's version suffix, as the headers spell them.
#define BRIND_ICU_NAME_TEXT(name) #name
#define BRIND_ICU_NAME(name) BRIND_ICU_NAME_TEXT(name)

struct ICU {
    decltype(&::ubrk_open) open = nullptr;
    decltype(&::ubrk_setUText) setUText = nullptr;
    decltype(&::ubrk_first) first = nullptr;
    decltype(&::ubrk_next) next = nullptr;
    decltype(&::ubrk_close) close = nullptr;
    decltype(&::utext_openUTF8) openUTF8 = nullptr;
    decltype(&::utext_close) closeText = nullptr;
    decltype(&::u_strFromUTF8WithSub) fromUTF8 = nullptr;
    decltype(&::u_strToUTF8) toUTF8 = nullptr;
    decltype(&::u_strToLower) toLower = nullptr;
    decltype(&::u_strToUpper) toUpper = nullptr;
    decltype(&::u_hasBinaryProperty) hasBinaryProperty = nullptr;
    decltype(&::u_isalnum) isAlphanumeric = nullptr;
};

// Nothing when the library or one of its entry points is missing; callers then fall back to rules
// that need no tables (code points for characters, ASCII for case and white space).
const ICU* icu() {
    static const std::unique_ptr<ICU> loaded = [] {
        void* library = ::dlopen("libicuuc.so." U_ICU_VERSION_SHORT, RTLD_LAZY | RTLD_LOCAL);
        if (!library)
            return std::unique_ptr<ICU>();
        auto functions = std::make_unique<ICU>();
        bool complete = true;
        const auto bind = [&](auto& pointer, const char* name) {
            pointer = reinterpret_cast<std::remove_reference_t<decltype(pointer)>>(::dlsym(library, name));
            complete = complete && pointer != nullptr;
        };
        bind(functions->open, BRIND_ICU_NAME(ubrk_open));
        bind(functions->setUText, BRIND_ICU_NAME(ubrk_setUText));
        bind(functions->first, BRIND_ICU_NAME(ubrk_first));
        bind(functions->next, BRIND_ICU_NAME(ubrk_next));
        bind(functions->close, BRIND_ICU_NAME(ubrk_close));
        bind(functions->openUTF8, BRIND_ICU_NAME(utext_openUTF8));
        bind(functions->closeText, BRIND_ICU_NAME(utext_close));
        bind(functions->fromUTF8, BRIND_ICU_NAME(u_strFromUTF8WithSub));
        bind(functions->toUTF8, BRIND_ICU_NAME(u_strToUTF8));
        bind(functions->toLower, BRIND_ICU_NAME(u_strToLower));
        bind(functions->toUpper, BRIND_ICU_NAME(u_strToUpper));
        bind(functions->hasBinaryProperty, BRIND_ICU_NAME(u_hasBinaryProperty));
        bind(functions->isAlphanumeric, BRIND_ICU_NAME(u_isalnum));
        // The library stays open for the life of the process, like a linked one.
        return complete ? std::move(functions) : std::unique_ptr<ICU>();
    }();
    return loaded.get();
}

struct BreakIteratorClose {
    void operator()(UBreakIterator* iterator) const { icu()->close(iterator); }
};

// Creating a break iterator loads ICU's rules; each thread keeps its own, ready for reuse.
UBreakIterator* characterIterator(const ICU& functions) {
    thread_local std::unique_ptr<UBreakIterator, BreakIteratorClose> iterator = [&] {
        UErrorCode status = U_ZERO_ERROR;
        // "" is the root locale.
        std::unique_ptr<UBreakIterator, BreakIteratorClose> created{
            functions.open(UBRK_CHARACTER, "", nullptr, 0, &status)};
        return U_SUCCESS(status) ? std::move(created) : nullptr;
    }();
    return iterator.get();
}

bool isASCII(std::string_view text) {
    return ASCII::prefixLength(text) == text.size();
}

// Visits the grapheme boundaries of `text` as byte offsets until `visit` returns false. Without
// ICU every code point is a boundary.
template <typename Visit>
void forEachBoundary(std::string_view text, Visit visit) {
    const ICU* functions = icu();
    if (!functions) {
        const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
        const auto length = static_cast<int32_t>(text.size());
        for (int32_t i = 0; i < length;) {
            UChar32 scalar = 0;
            U8_NEXT(bytes, i, length, scalar);
            if (!visit(static_cast<std::size_t>(i)))
                break;
        }
        return;
    }
    UBreakIterator* iterator = characterIterator(*functions);
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = functions->openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (!iterator || U_FAILURE(status)) {
        functions->closeText(utext);
        return;
    }
    functions->setUText(iterator, utext, &status);
    if (U_SUCCESS(status)) {
        functions->first(iterator);
        for (int32_t boundary = functions->next(iterator); boundary != UBRK_DONE;
             boundary = functions->next(iterator)) {
            if (!visit(static_cast<std::size_t>(boundary)))
                break;
        }
    }
    functions->closeText(utext);
}

// ICU's two-pass convention: ask for the length with the buffer at hand, grow it once if short.
template <typename Fill>
bool filled(Fill fill, auto& buffer) {
    UErrorCode status = U_ZERO_ERROR;
    int32_t length = fill(buffer.data(), static_cast<int32_t>(buffer.size()), &status);
    if (status == U_BUFFER_OVERFLOW_ERROR) {
        buffer.resize(static_cast<std::size_t>(length));
        status = U_ZERO_ERROR;
        length = fill(buffer.data(), static_cast<int32_t>(buffer.size()), &status);
    }
    if (U_FAILURE(status))
        return false;
    buffer.resize(static_cast<std::size_t>(length));
    return true;
}

// Full case mapping through UTF-16, ill-formed input bytes becoming U+FFFD; nothing when ICU fails.
std::optional<std::string> mappedCase(std::string_view text, bool upper) {
    const ICU* functions = icu();
    if (!functions)
        return std::nullopt;
    std::u16string source(text.size() + 1, u'\0');
    const bool decoded = filled(
        [&](char16_t* into, int32_t capacity, UErrorCode* status) {
            int32_t length = 0;
            functions->fromUTF8(into, capacity, &length, text.data(), static_cast<int32_t>(text.size()), 0xFFFD,
                                nullptr, status);
            return length;
        },
        source);
    if (!decoded)
        return std::nullopt;
    std::u16string mapped(source.size() + 8, u'\0');
    const bool done = filled(
        [&](char16_t* into, int32_t capacity, UErrorCode* status) {
            const auto map = upper ? functions->toUpper : functions->toLower;
            return map(into, capacity, source.data(), static_cast<int32_t>(source.size()), "", status);
        },
        mapped);
    if (!done)
        return std::nullopt;
    std::string result(mapped.size() * 3 + 1, '\0');
    const bool encoded = filled(
        [&](char* into, int32_t capacity, UErrorCode* status) {
            int32_t length = 0;
            functions->toUTF8(into, capacity, &length, mapped.data(), static_cast<int32_t>(mapped.size()), status);
            return length;
        },
        result);
    if (!encoded)
        return std::nullopt;
    return result;
}

} // namespace

std::size_t graphemeCount(std::string_view text) {
    // Plain ASCII without CR LF pairs has one character per byte; skip ICU for it.
    if (isASCII(text) && text.find("\r\n") == std::string_view::npos)
        return text.size();
    std::size_t count = 0;
    forEachBoundary(text, [&](std::size_t) {
        ++count;
        return true;
    });
    return count;
}

std::string graphemePrefix(std::string_view text, std::size_t count) {
    if (count == 0)
        return {};
    if (isASCII(text) && text.find("\r\n") == std::string_view::npos)
        return std::string(text.substr(0, count));
    std::size_t end = text.size();
    std::size_t seen = 0;
    forEachBoundary(text, [&](std::size_t boundary) {
        if (++seen == count) {
            end = boundary;
            return false;
        }
        return true;
    });
    return std::string(text.substr(0, end));
}

std::string lowercased(std::string_view text) {
    if (isASCII(text))
        return ASCII::lowercased(text);
    if (auto mapped = mappedCase(text, false))
        return std::move(*mapped);
    return ASCII::lowercased(text);
}

void lowercase(std::string& text) {
    if (isASCII(text)) {
        for (char& c : text)
            c = ASCII::lowercased(c);
        return;
    }
    text = lowercased(text);
}

std::string uppercased(std::string_view text) {
    if (auto mapped = mappedCase(text, true))
        return std::move(*mapped);
    return ASCII::uppercased(text);
}

bool isWhitespace(char32_t scalar) {
    if (const ICU* functions = icu())
        return functions->hasBinaryProperty(static_cast<UChar32>(scalar), UCHAR_WHITE_SPACE);
    return scalar == ' ' || (scalar >= '\t' && scalar <= '\r');
}

bool isLetterOrDigit(char32_t scalar) {
    if (const ICU* functions = icu())
        return functions->isAlphanumeric(static_cast<UChar32>(scalar));
    return scalar < 0x80 && std::isalnum(static_cast<int>(scalar));
}

std::string trimmed(std::string_view text) {
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());

    int32_t start = 0;
    while (start < length) {
        int32_t next = start;
        UChar32 scalar = 0;
        U8_NEXT(bytes, next, length, scalar);
        if (scalar < 0 || !isWhitespace(static_cast<char32_t>(scalar)))
            break;
        start = next;
    }
    int32_t end = length;
    while (end > start) {
        // Back to the lead byte, then decoded forwards: ICU's backward decoder is a library call.
        int32_t previous = end - 1;
        while (previous > start && end - previous < 4 && U8_IS_TRAIL(bytes[previous]))
            --previous;
        int32_t next = previous;
        UChar32 scalar = 0;
        U8_NEXT(bytes, next, length, scalar);
        if (scalar < 0 || next != end || !isWhitespace(static_cast<char32_t>(scalar)))
            break;
        end = previous;
    }
    return std::string(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

bool isValidUTF8(std::string_view text) {
    // ASCII, most of what is checked (request heads, keys, ids), is valid as it stands; the decoder
    // takes over from the first other byte.
    text.remove_prefix(ASCII::prefixLength(text));
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    for (int32_t i = 0; i < length;) {
        UChar32 scalar = 0;
        U8_NEXT(bytes, i, length, scalar);
        if (scalar < 0)
            return false;
    }
    return true;
}

std::string repairedUTF8(std::string_view text) {
    if (isValidUTF8(text))
        return std::string(text);
    const auto* bytes = reinterpret_cast<const uint8_t*>(text.data());
    const auto length = static_cast<int32_t>(text.size());
    std::string result;
    result.reserve(text.size());
    for (int32_t i = 0; i < length;) {
        const int32_t start = i;
        UChar32 scalar = 0;
        U8_NEXT(bytes, i, length, scalar);
        if (scalar < 0) {
            result += "\xEF\xBF\xBD";
            continue;
        }
        result.append(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(i - start)));
    }
    return result;
}

} // namespace brind::Text
