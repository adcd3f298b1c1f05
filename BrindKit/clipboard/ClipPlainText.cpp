#include "BrindKit/clipboard/ClipPlainText.hpp"

#include "BrindKit/foundation/ASCII.hpp"
#include "BrindKit/foundation/Hex.hpp"
#include "BrindKit/foundation/Text.hpp"

#include <unicode/ucnv.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <array>
#include <memory>
#include <cstdint>
#include <optional>
#include <vector>

namespace brind::ClipPlainText {

namespace {

void appendUTF8(std::string& out, char32_t scalar) {
    if (scalar < 0x80) {
        out.push_back(static_cast<char>(scalar));
    } else if (scalar < 0x800) {
        out.push_back(static_cast<char>(0xC0 | (scalar >> 6)));
        out.push_back(static_cast<char>(0x80 | (scalar & 0x3F)));
    } else if (scalar < 0x10000) {
        out.push_back(static_cast<char>(0xE0 | (scalar >> 12)));
        out.push_back(static_cast<char>(0x80 | ((scalar >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (scalar & 0x3F)));
    } else {
        out.push_back(static_cast<char>(0xF0 | (scalar >> 18)));
        out.push_back(static_cast<char>(0x80 | ((scalar >> 12) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | ((scalar >> 6) & 0x3F)));
        out.push_back(static_cast<char>(0x80 | (scalar & 0x3F)));
    }
}

constexpr char32_t replacementCharacter = 0xFFFD;
// "\'xx" bytes are Windows-1252 unless the document declares another ANSI code page.
constexpr std::int64_t defaultCodePage = 1252;

// One Unicode scalar per byte of a single-byte code page, read once from ICU's converter.
using CodePage = std::array<char32_t, 256>;

CodePage loadCodePage(const char* name) {
    CodePage table{};
    for (std::size_t byte = 0; byte < table.size(); ++byte)
        table[byte] = byte < 0x80 ? static_cast<char32_t>(byte) : replacementCharacter;
    UErrorCode status = U_ZERO_ERROR;
    UConverter* converter = ucnv_open(name, &status);
    if (U_FAILURE(status))
        return table;
    for (std::size_t byte = 0x80; byte < table.size(); ++byte) {
        const char source = static_cast<char>(byte);
        UChar decoded[4] = {};
        status = U_ZERO_ERROR;
        const int32_t length = ucnv_toUChars(converter, decoded, 4, &source, 1, &status);
        // The converter substitutes U+001A for bytes the code page leaves undefined.
        if (U_SUCCESS(status) && length == 1 && decoded[0] != 0x1A)
            table[byte] = decoded[0];
    }
    ucnv_close(converter);
    return table;
}

const CodePage& windows1252() {
    static const CodePage table = loadCodePage("windows-1252");
    return table;
}

const CodePage& macRoman() {
    static const CodePage table = loadCodePage("macos-0_2-10.2");
    return table;
}

std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80)
        return 1;
    if (lead >= 0xF0)
        return 4;
    if (lead >= 0xE0)
        return 3;
    return 2;
}

bool isContinuationByte(char c) {
    return (static_cast<unsigned char>(c) & 0xC0) == 0x80;
}

// Groups that hold no document text: tables, metadata, pictures and generator notes.
bool isSkippedDestination(std::string_view word) {
    static constexpr std::string_view destinations[] = {
        "fonttbl", "colortbl", "stylesheet", "info", "pict", "listtable", "listoverridetable", "generator",
    };
    for (const std::string_view destination : destinations) {
        if (word == destination)
            return true;
    }
    return false;
}

// Parameters beyond this are nonsense; saturating keeps the arithmetic defined.
constexpr std::int64_t parameterLimit = 1'000'000'000'000;

struct ControlWord {
    std::string_view word;
    std::optional<std::int64_t> parameter;
};

class RTFReader {
public:
    explicit RTFReader(std::string_view source) : source_(source) {}

    std::string read() {
        while (position_ < source_.size()) {
            const char c = source_[position_];
            if (c == '{') {
                openGroup();
            } else if (c == '}') {
                closeGroup();
            } else if (c == '\\') {
                ++position_;
                readControl();
            } else if (c == '\r' || c == '\n') {
                ++position_;
            } else {
                copyCharacter();
            }
        }
        flushPending();
        return std::move(out_);
    }

private:
    std::string_view source_;
    std::size_t position_ = 0;
    std::string out_;
    // "\ucN" says how many fallback characters follow each "\uN"; it is scoped to the group.
    int fallbackCount_ = 1;
    std::vector<int> savedFallbackCounts_;
    int pendingFallback_ = 0;
    char32_t pendingHighSurrogate_ = 0;
    std::string pendingBytes_;
    std::int64_t codePage_ = defaultCodePage;
    std::int64_t converterCodePage_ = defaultCodePage;
    std::unique_ptr<UConverter, decltype(&ucnv_close)> converter_{nullptr, ucnv_close};

    void emit(char32_t scalar) {
        flushPending();
        appendUTF8(out_, scalar);
    }

    void emitText(std::string_view text) {
        flushPending();
        out_ += text;
    }

    void flushPending() {
        flushBytes();
        flushSurrogate();
    }

    // "\'xx" bytes are collected into runs so that double-byte code pages decode whole characters.
    void flushBytes() {
        if (pendingBytes_.empty())
            return;
        if (codePage_ == defaultCodePage || !converter()) {
            for (const char byte : pendingBytes_)
                appendUTF8(out_, windows1252()[static_cast<unsigned char>(byte)]);
        } else {
            decodeWithConverter();
        }
        pendingBytes_.clear();
    }

    void decodeWithConverter() {
        std::vector<UChar> decoded(pendingBytes_.size() * 2 + 4);
        UErrorCode status = U_ZERO_ERROR;
        const int32_t length = ucnv_toUChars(converter_.get(), decoded.data(), static_cast<int32_t>(decoded.size()),
                                             pendingBytes_.data(), static_cast<int32_t>(pendingBytes_.size()), &status);
        if (U_FAILURE(status)) {
            appendUTF8(out_, replacementCharacter);
            return;
        }
        const auto* units = decoded.data();
        int32_t index = 0;
        while (index < length) {
            UChar32 scalar = 0;
            U16_NEXT(units, index, length, scalar);
            appendUTF8(out_, U_IS_SURROGATE(scalar) ? replacementCharacter : static_cast<char32_t>(scalar));
        }
    }

    // The converter for the document's declared ANSI code page; nothing when ICU does not know it.
    UConverter* converter() {
        if (converterCodePage_ == codePage_)
            return converter_.get();
        converterCodePage_ = codePage_;
        converter_.reset();
        const std::string number = std::to_string(codePage_);
        for (const std::string& name : {"windows-" + number, "cp" + number, "ibm-" + number}) {
            UErrorCode status = U_ZERO_ERROR;
            UConverter* opened = ucnv_open(name.c_str(), &status);
            if (U_SUCCESS(status) && opened) {
                converter_.reset(opened);
                break;
            }
        }
        return converter_.get();
    }

    void flushSurrogate() {
        if (pendingHighSurrogate_ == 0)
            return;
        pendingHighSurrogate_ = 0;
        appendUTF8(out_, replacementCharacter);
    }

    void emitUnicode(std::int64_t value) {
        flushBytes();
        // Writers store code units above 32767 as negative 16-bit numbers.
        if (value < 0)
            value += 65536;
        if (value < 0 || value > 0x10FFFF) {
            emit(replacementCharacter);
            return;
        }
        const auto scalar = static_cast<char32_t>(value);
        if (scalar >= 0xD800 && scalar <= 0xDBFF) {
            flushSurrogate();
            pendingHighSurrogate_ = scalar;
            return;
        }
        if (scalar >= 0xDC00 && scalar <= 0xDFFF) {
            if (pendingHighSurrogate_ == 0) {
                emit(replacementCharacter);
                return;
            }
            const char32_t combined = 0x10000 + ((pendingHighSurrogate_ - 0xD800) << 10) + (scalar - 0xDC00);
            pendingHighSurrogate_ = 0;
            appendUTF8(out_, combined);
            return;
        }
        emit(scalar);
    }

    // After "\uN" a writer puts N characters for readers without Unicode ("?", "\'3f", a plain
    // approximation); they are dropped. A control word ends the fallback early.
    bool consumeFallback() {
        if (pendingFallback_ <= 0)
            return false;
        --pendingFallback_;
        return true;
    }

    void openGroup() {
        ++position_;
        pendingFallback_ = 0;
        if (startsSkippedGroup()) {
            skipGroup();
            return;
        }
        savedFallbackCounts_.push_back(fallbackCount_);
    }

    void closeGroup() {
        ++position_;
        pendingFallback_ = 0;
        if (savedFallbackCounts_.empty())
            return;
        fallbackCount_ = savedFallbackCounts_.back();
        savedFallbackCounts_.pop_back();
        // The document ends with its outermost group; what follows (a NUL, stray text) is not part
        // of it.
        if (savedFallbackCounts_.empty())
            position_ = source_.size();
    }

    bool startsSkippedGroup() const {
        if (position_ + 1 >= source_.size() || source_[position_] != '\\')
            return false;
        if (source_[position_ + 1] == '*')
            return true;
        std::size_t end = position_ + 1;
        while (end < source_.size() && ASCII::isLetter(source_[end]))
            ++end;
        return isSkippedDestination(source_.substr(position_ + 1, end - position_ - 1));
    }

    // Called just after the group's "{"; leaves the position after its matching "}".
    void skipGroup() {
        int depth = 1;
        while (position_ < source_.size()) {
            const char c = source_[position_];
            if (c == '{') {
                ++depth;
                ++position_;
            } else if (c == '}') {
                ++position_;
                if (--depth == 0)
                    return;
            } else if (c == '\\') {
                ++position_;
                if (position_ < source_.size() && ASCII::isLetter(source_[position_])) {
                    const ControlWord control = readControlWord();
                    if (control.word == "bin")
                        skipBinary(control.parameter);
                } else if (position_ < source_.size()) {
                    ++position_;
                }
            } else {
                ++position_;
            }
        }
    }

    // "\binN" is followed by N raw bytes that may hold anything, braces included.
    void skipBinary(std::optional<std::int64_t> count) {
        if (!count || *count <= 0)
            return;
        const auto remaining = static_cast<std::int64_t>(source_.size() - position_);
        position_ += static_cast<std::size_t>(std::min(*count, remaining));
        // The text being read is UTF-8 (decoded if need be), so a count of raw bytes may end
        // inside a character; resume at the next whole one.
        while (position_ < source_.size() && isContinuationByte(source_[position_]))
            ++position_;
    }

    ControlWord readControlWord() {
        const std::size_t start = position_;
        while (position_ < source_.size() && ASCII::isLetter(source_[position_]))
            ++position_;
        ControlWord control{source_.substr(start, position_ - start), std::nullopt};
        bool negative = false;
        if (position_ < source_.size() && source_[position_] == '-' && position_ + 1 < source_.size() &&
            ASCII::isDigit(source_[position_ + 1])) {
            negative = true;
            ++position_;
        }
        if (position_ < source_.size() && ASCII::isDigit(source_[position_])) {
            std::int64_t value = 0;
            while (position_ < source_.size() && ASCII::isDigit(source_[position_])) {
                value = std::min(parameterLimit, value * 10 + (source_[position_] - '0'));
                ++position_;
            }
            control.parameter = negative ? -value : value;
        }
        if (position_ < source_.size() && source_[position_] == ' ')
            ++position_;
        return control;
    }

    void readControl() {
        if (position_ >= source_.size())
            return;
        const char c = source_[position_];
        if (ASCII::isLetter(c)) {
            handleWord(readControlWord());
            return;
        }
        if (c == '\'') {
            readHexEscape();
            return;
        }
        ++position_;
        switch (c) {
        case '\\':
        case '{':
        case '}':
            if (!consumeFallback())
                emit(static_cast<char32_t>(c));
            return;
        case '\r':
        case '\n':
            // A backslash before a line break is a paragraph break, as Cocoa writes them.
            if (c == '\r' && position_ < source_.size() && source_[position_] == '\n')
                ++position_;
            pendingFallback_ = 0;
            emit('\n');
            return;
        case '~':
            emit(0x00A0);
            return;
        case '_':
            emit(0x2011);
            return;
        default:
            // Other control symbols ("\-" optional hyphen, "\*", "\:") show nothing; a multi-byte
            // character after the backslash is dropped whole so the output stays valid UTF-8.
            position_ += sequenceLength(static_cast<unsigned char>(c)) - 1;
            position_ = std::min(position_, source_.size());
            return;
        }
    }

    void readHexEscape() {
        ++position_;
        if (position_ + 1 >= source_.size())
            return;
        const int value = Hex::byteValue(source_[position_], source_[position_ + 1]);
        if (value < 0)
            return;
        position_ += 2;
        if (consumeFallback())
            return;
        flushSurrogate();
        pendingBytes_.push_back(static_cast<char>(value));
    }

    void handleWord(const ControlWord& control) {
        const std::string_view word = control.word;
        if (word == "u") {
            if (!control.parameter)
                return;
            emitUnicode(*control.parameter);
            pendingFallback_ = fallbackCount_;
            return;
        }
        pendingFallback_ = 0;
        if (word == "ansicpg") {
            flushBytes();
            if (control.parameter && *control.parameter > 0)
                codePage_ = *control.parameter;
        } else if (word == "uc") {
            fallbackCount_ = static_cast<int>(std::clamp<std::int64_t>(control.parameter.value_or(1), 0, 16));
        } else if (word == "par" || word == "line") {
            emit('\n');
        } else if (word == "tab") {
            emit('\t');
        } else if (word == "cell" || word == "nestcell") {
            // Table cells are separated by tabs and rows end lines, as spreadsheets paste them.
            emit('\t');
        } else if (word == "row" || word == "nestrow") {
            flushPending();
            if (out_.ends_with('\t'))
                out_.pop_back();
            out_.push_back('\n');
        } else if (word == "emdash") {
            emitText("\u2014");
        } else if (word == "endash") {
            emitText("\u2013");
        } else if (word == "bullet") {
            emitText("\u2022");
        } else if (word == "lquote") {
            emitText("\u2018");
        } else if (word == "rquote") {
            emitText("\u2019");
        } else if (word == "ldblquote") {
            emitText("\u201C");
        } else if (word == "rdblquote") {
            emitText("\u201D");
        } else if (word == "bin") {
            skipBinary(control.parameter);
        }
    }

    void copyCharacter() {
        const char c = source_[position_];
        const std::size_t length =
            std::min(sequenceLength(static_cast<unsigned char>(c)), source_.size() - position_);
        if (consumeFallback()) {
            position_ += length;
            return;
        }
        emitText(source_.substr(position_, length));
        position_ += length;
    }
};

std::string decodeMacRoman(std::string_view bytes) {
    const CodePage& table = macRoman();
    std::string text;
    text.reserve(bytes.size() + bytes.size() / 4);
    for (const char byte : bytes)
        appendUTF8(text, table[static_cast<unsigned char>(byte)]);
    return text;
}

} // namespace

std::string normalize(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t index = 0; index < text.size(); ++index) {
        const char c = text[index];
        const std::string_view rest = text.substr(index);
        if (c == '\r') {
            result.push_back('\n');
            if (rest.starts_with("\r\n"))
                ++index;
        } else if (rest.starts_with("\u00A0")) {
            result.push_back(' ');
            index += 1;
        } else if (rest.starts_with("\u2028")) {
            result.push_back('\n');
            index += 2;
        } else if (rest.starts_with("\u2029")) {
            result += "\n\n";
            index += 2;
        } else if (rest.starts_with("\u200B") || rest.starts_with("\u200C") || rest.starts_with("\u200D") ||
                   rest.starts_with("\uFEFF")) {
            index += 2;
        } else if (rest.starts_with("\u00AD")) {
            index += 1;
        } else {
            result.push_back(c);
        }
    }
    return result;
}

std::string stripRTF(std::string_view data) {
    if (Text::isValidUTF8(data))
        return Text::trimmed(RTFReader(data).read());
    const std::string decoded = decodeMacRoman(data);
    return Text::trimmed(RTFReader(decoded).read());
}

} // namespace brind::ClipPlainText
