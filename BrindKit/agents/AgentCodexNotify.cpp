#include "BrindKit/agents/AgentCodexNotify.hpp"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace brind::AgentCodexNotify {

namespace {

constexpr std::string_view key = "notify";
constexpr std::string_view separator = "--";

// Reads a TOML array of strings starting at `position` (just past "="), skipping blanks, line
// breaks and comments; leaves `position` just past the closing bracket.
class ArrayReader {
public:
    ArrayReader(std::string_view text, std::size_t position) : text_(text), position_(position) {}

    std::expected<std::vector<std::string>, std::string> read() {
        skipBlanks();
        if (!take('['))
            return std::unexpected("its notify setting is not an array");
        std::vector<std::string> result;
        for (;;) {
            skipBlanks();
            if (take(']'))
                return result;
            auto element = readString();
            if (!element)
                return std::unexpected(element.error());
            result.push_back(std::move(*element));
            skipBlanks();
            if (take(']'))
                return result;
            if (!take(','))
                return std::unexpected("its notify array is not a list of strings");
        }
    }

    std::size_t position() const { return position_; }

private:
    bool take(char c) {
        if (position_ < text_.size() && text_[position_] == c) {
            ++position_;
            return true;
        }
        return false;
    }

    void skipBlanks() {
        while (position_ < text_.size()) {
            const char c = text_[position_];
            if (c == '#') {
                const std::size_t end = text_.find('\n', position_);
                position_ = end == std::string_view::npos ? text_.size() : end;
            } else if (c == ' ' || c == '\t' || c == '\r' || c == '\n') {
                ++position_;
            } else {
                return;
            }
        }
    }

    std::expected<std::string, std::string> readString() {
        if (text_.substr(position_, 3) == "\"\"\"" || text_.substr(position_, 3) == "'''")
            return std::unexpected("its notify array holds a multi-line string");
        if (take('\'')) {
            const std::size_t end = text_.find('\'', position_);
            if (end == std::string_view::npos)
                return std::unexpected("its notify array has an unclosed string");
            std::string value(text_.substr(position_, end - position_));
            position_ = end + 1;
            return value;
        }
        if (!take('"'))
            return std::unexpected("its notify array is not a list of strings");
        std::string value;
        while (position_ < text_.size()) {
            const char c = text_[position_++];
            if (c == '"')
                return value;
            if (c != '\\') {
                value += c;
                continue;
            }
            if (position_ >= text_.size())
                break;
            const char escaped = text_[position_++];
            switch (escaped) {
            case 'n': value += '\n'; break;
            case 't': value += '\t'; break;
            case 'r': value += '\r'; break;
            case 'b': value += '\b'; break;
            case 'f': value += '\f'; break;
            case '"': value += '"'; break;
            case '\\': value += '\\'; break;
            case 'u': {
                unsigned code = 0;
                const auto digits = text_.substr(position_, 4);
                if (digits.size() != 4 ||
                    std::from_chars(digits.data(), digits.data() + 4, code, 16).ptr != digits.data() + 4)
                    return std::unexpected("its notify array has a bad escape");
                position_ += 4;
                appendUTF8(value, code);
                break;
            }
            default: return std::unexpected("its notify array has an escape we do not read");
            }
        }
        return std::unexpected("its notify array has an unclosed string");
    }

    static void appendUTF8(std::string& out, unsigned code) {
        if (code < 0x80) {
            out += static_cast<char>(code);
        } else if (code < 0x800) {
            out += static_cast<char>(0xC0 | (code >> 6));
            out += static_cast<char>(0x80 | (code & 0x3F));
        } else {
            out += static_cast<char>(0xE0 | (code >> 12));
            out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (code & 0x3F));
        }
    }

    std::string_view text_;
    std::size_t position_;
};

std::string basicString(std::string_view text) {
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04X", static_cast<unsigned>(static_cast<unsigned char>(c)));
            out += escape;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

std::string replaced(std::string_view text, std::size_t begin, std::size_t end, std::string_view with) {
    std::string out(text.substr(0, begin));
    out += with;
    out += text.substr(end);
    return out;
}

} // namespace

std::expected<std::optional<Notify>, std::string> find(std::string_view toml) {
    std::size_t lineStart = 0;
    while (lineStart < toml.size()) {
        const std::size_t lineEnd = std::min(toml.find('\n', lineStart), toml.size());
        const std::string_view lineText = toml.substr(lineStart, lineEnd - lineStart);
        const std::size_t first = lineText.find_first_not_of(" \t");
        // Top-level keys come before the first table; a notify inside a table is someone else's.
        if (first != std::string_view::npos && lineText[first] == '[')
            return std::nullopt;
        if (first != std::string_view::npos && lineText.substr(first).starts_with(key)) {
            const std::string_view rest = lineText.substr(first + key.size());
            const std::size_t equals = rest.find_first_not_of(" \t");
            if (equals != std::string_view::npos && rest[equals] == '=') {
                ArrayReader reader(toml, lineStart + first + key.size() + equals + 1);
                auto program = reader.read();
                if (!program)
                    return std::unexpected(program.error());
                const std::size_t newline = toml.find('\n', reader.position());
                return Notify{std::move(*program), lineStart,
                              newline == std::string_view::npos ? toml.size() : newline + 1};
            }
        }
        lineStart = lineEnd + 1;
    }
    return std::nullopt;
}

bool isOurs(const std::vector<std::string>& program) {
    if (program.size() < 2 || program[1] != "hook")
        return false;
    const std::size_t slash = program[0].rfind('/');
    return (slash == std::string::npos ? program[0] : program[0].substr(slash + 1)) == "vantaquill";
}

std::vector<std::string> chained(const std::vector<std::string>& program) {
    const auto found = std::ranges::find(program, separator);
    if (found == program.end())
        return {};
    return {found + 1, program.end()};
}

std::string line(const std::vector<std::string>& program) {
    std::string out = std::string(key) + " = [";
    for (std::size_t index = 0; index < program.size(); ++index)
        out += (index ? ", " : "") + basicString(program[index]);
    return out + "]\n";
}

std::expected<std::string, std::string> installed(std::string_view toml, const std::vector<std::string>& ours) {
    const auto existing = find(toml);
    if (!existing)
        return std::unexpected(existing.error());
    if (!*existing)
        return line(ours) + std::string(toml);
    std::vector<std::string> program = ours;
    const auto theirs = isOurs((*existing)->program) ? chained((*existing)->program) : (*existing)->program;
    program.insert(program.end(), theirs.begin(), theirs.end());
    return replaced(toml, (*existing)->begin, (*existing)->end, line(program));
}

std::expected<std::string, std::string> removed(std::string_view toml) {
    const auto existing = find(toml);
    if (!existing)
        return std::unexpected(existing.error());
    if (!*existing || !isOurs((*existing)->program))
        return std::string(toml);
    const auto theirs = chained((*existing)->program);
    return replaced(toml, (*existing)->begin, (*existing)->end, theirs.empty() ? std::string{} : line(theirs));
}

} // namespace brind::AgentCodexNotify
