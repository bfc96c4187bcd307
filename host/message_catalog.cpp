// The parser works line by line and keeps nothing but the number of the set it is in: a line it cannot read is
// skipped, and a file without an end is simply a file with fewer messages.
#include "host/message_catalog.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace oocobol::host {
namespace {

constexpr unsigned highestNumber = 65535;

std::uint64_t key(unsigned set, unsigned number) { return std::uint64_t{set} << 32 | number; }

bool isBlank(char character) { return character == ' ' || character == '\t'; }

std::string_view takeLine(std::string_view &source) {
    const auto end = std::min(source.find('\n'), source.size());
    auto line = source.substr(0, end);
    source.remove_prefix(std::min(end + 1, source.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
}

std::optional<unsigned> takeNumber(std::string_view &line) {
    unsigned number = 0;
    const auto [end, error] = std::from_chars(line.data(), line.data() + line.size(), number);
    if (error != std::errc() || number == 0 || number > highestNumber) return {};
    line.remove_prefix(static_cast<std::size_t>(end - line.data()));
    if (!line.empty() && !isBlank(line.front())) return {};
    return number;
}

bool isContinued(std::string_view line) {
    const auto last = line.find_last_not_of('\\');
    const auto backslashes = line.size() - (last == std::string_view::npos ? 0 : last + 1);
    return backslashes % 2 == 1;
}

void append(std::string &text, std::string_view piece) {
    text += piece.substr(0, messageLimit - std::min(messageLimit, text.size()));
}

char unescaped(char character) {
    switch (character) {
    case 'n':
        return '\n';
    case 't':
        return '\t';
    default:
        return character;
    }
}

// A text ends at a null byte, as all who show it take it to.
void appendUnescaped(std::string &text, std::string_view line) {
    for (std::size_t i = 0; i < line.size() && text.size() < messageLimit; ++i) {
        const bool escape = line[i] == '\\' && i + 1 < line.size();
        text += escape ? unescaped(line[++i]) : line[i];
    }
}

std::string takeText(std::string_view line, std::string_view &source) {
    std::string text;
    while (isContinued(line)) {
        line.remove_suffix(1);
        appendUnescaped(text, line);
        if (source.empty()) return text;
        line = takeLine(source);
    }
    appendUnescaped(text, line);
    text.resize(std::min(text.find('\0'), text.size()));
    return text;
}

} // namespace

MessageCatalog MessageCatalog::parse(std::string_view source) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF", setDirective = "$set";
    MessageCatalog catalog;
    if (source.starts_with(byteOrderMark)) source.remove_prefix(byteOrderMark.size());
    std::optional<unsigned> set = 1;
    while (!source.empty()) {
        auto line = takeLine(source);
        if (line.starts_with(setDirective)) {
            line.remove_prefix(std::min(line.find_first_not_of(" \t", setDirective.size()), line.size()));
            set = takeNumber(line);
        } else if (const auto number = takeNumber(line)) {
            if (!line.empty()) line.remove_prefix(1); // one blank parts number and text
            auto text = takeText(line, source);
            if (set) catalog.texts[key(*set, *number)] = std::move(text);
        }
    }
    return catalog;
}

const std::string *MessageCatalog::find(unsigned set, unsigned number) const {
    const auto found = texts.find(key(set, number));
    return found == texts.end() ? nullptr : &found->second;
}

std::string withInserts(std::string_view text, std::span<const std::string_view> inserts) {
    constexpr std::size_t insertLimit = 6;
    std::string result;
    while (!text.empty()) {
        const auto mark = std::min(text.find('%'), text.size());
        append(result, text.substr(0, mark));
        text.remove_prefix(mark);
        if (text.size() >= 2 && text[1] >= '1' && text[1] <= '6') {
            const auto index = static_cast<std::size_t>(text[1] - '1');
            if (index < std::min(inserts.size(), insertLimit)) append(result, inserts[index]);
            text.remove_prefix(2);
        } else if (!text.empty()) {
            append(result, "%");
            text.remove_prefix(1);
        }
    }
    return result;
}

} // namespace oocobol::host
