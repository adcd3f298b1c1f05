#include "BrindKit/foundation/Text.hpp"

#include "BrindKit/foundation/ASCII.hpp"

#include <unicode/brkiter.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

#include <memory>

namespace brind::Text {

namespace {

// Creating a break iterator loads ICU's rules; each thread keeps its own, ready for reuse.
icu::BreakIterator* characterIterator() {
    thread_local std::unique_ptr<icu::BreakIterator> iterator = [] {
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::BreakIterator> created{
            icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status)};
        return U_SUCCESS(status) ? std::move(created) : nullptr;
    }();
    return iterator.get();
}

bool isASCII(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80)
            return false;
    }
    return true;
}

// Visits the grapheme boundaries of `text` as byte offsets until `visit` returns false.
template <typename Visit>
void forEachBoundary(std::string_view text, Visit visit) {
    icu::BreakIterator* iterator = characterIterator();
    UErrorCode status = U_ZERO_ERROR;
    UText* utext = utext_openUTF8(nullptr, text.data(), static_cast<int64_t>(text.size()), &status);
    if (!iterator || U_FAILURE(status)) {
        utext_close(utext);
        return;
    }
    iterator->setText(utext, status);
    if (U_SUCCESS(status)) {
        iterator->first();
        for (int32_t boundary = iterator->next(); boundary != icu::BreakIterator::DONE;
             boundary = iterator->next()) {
            if (!visit(static_cast<std::size_t>(boundary)))
                break;
        }
    }
    utext_close(utext);
}

std::string toUTF8(const icu::UnicodeString& text) {
    std::string result;
    text.toUTF8String(result);
    return result;
}

icu::UnicodeString fromUTF8(std::string_view text) {
    return icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
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
    icu::UnicodeString unicode = fromUTF8(text);
    unicode.toLower(icu::Locale::getRoot());
    return toUTF8(unicode);
}

std::string uppercased(std::string_view text) {
    icu::UnicodeString unicode = fromUTF8(text);
    unicode.toUpper(icu::Locale::getRoot());
    return toUTF8(unicode);
}

bool isWhitespace(char32_t scalar) {
    return u_hasBinaryProperty(static_cast<UChar32>(scalar), UCHAR_WHITE_SPACE);
}

bool isLetterOrDigit(char32_t scalar) {
    return u_isalnum(static_cast<UChar32>(scalar));
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
        int32_t previous = end;
        UChar32 scalar = 0;
        U8_PREV(bytes, 0, previous, scalar);
        if (scalar < 0 || !isWhitespace(static_cast<char32_t>(scalar)))
            break;
        end = previous;
    }
    return std::string(text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start)));
}

bool isValidUTF8(std::string_view text) {
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
