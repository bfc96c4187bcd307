#include "tests/support/says.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <cstdint>
#include <map>
#include <string>

#include "classes/text/characters.h"
#include "tests/support/support.h"

namespace oocobol::test {
namespace {

// Cuts at `separator` outside quotes and brackets; answers what is in front of it and leaves the rest.
std::string_view cut(std::string_view &rest, std::string_view separator) {
    static constexpr std::string_view opening = "'`[({", closing = "'`])}";
    char until = 0;
    for (std::size_t i = 0; i < rest.size(); ++i) {
        if (until != 0) {
            if (rest[i] == until) until = 0;
        } else if (const auto quote = opening.find(rest[i]); quote != std::string_view::npos) {
            until = closing[quote];
        } else if (rest.substr(i, separator.size()) == separator) {
            const auto front = rest.substr(0, i);
            rest.remove_prefix(i + separator.size());
            return front;
        }
    }
    return std::exchange(rest, {});
}
std::string_view bare(std::string_view text) {
    const auto first = text.find_first_not_of(" \n");
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(" \n") - first + 1);
}
bool isWord(std::string_view text) {
    return !text.empty() && std::isalpha(text[0]) != 0 && text != "nil" && text != "it";
}
std::string_view inside(std::string_view text) { return text.substr(1, text.size() - 2); }

// A text or an item, of the class of the program in front of the quotes or as the object is one.
Ref textLike(Ref object, std::string_view item) {
    const std::string program(item.substr(0, item.find('`')));
    item = inside(item.substr(program.size()));
    auto ofClass = familyOfClass(object) != nullptr ? object : classOf(object);
    ofClass = send<Ref>(SITE("baseclass"), program.empty() ? ofClass : classForProgram(program.c_str()));
    const auto countsCharacters = ofClass == CLASS("dbcsarry") || ofClass == CLASS("dbcspicx");
    const auto count = static_cast<Index>(countsCharacters ? characters::count(item) : item.size());
    return send<Ref>(SITE("withlengthvalue"), ofClass, count, Bytes(ExactBytes(item)));
}
class Conversation {
    static constexpr std::size_t areaSize = 512;
    static constexpr char untouched = '\x7F';

public:
    Conversation(Ref object, std::vector<Ref> objects) : receiver(object), named(std::move(objects)) {}

    // What went wrong with one message; empty when nothing did.
    std::string take(std::string_view message) {
        auto expected = message;
        auto sent = bare(cut(expected, "->"));
        expected = bare(expected);
        auto object = receiver;
        if (sent.starts_with('$') || sent.starts_with("it ") || sent.starts_with("nil "))
            object = namedAt(cut(sent, " "));
        else if (auto rest = sent; cut(rest, " ").ends_with('`'))
            object = lent.emplace_back(textLike(receiver, cut(sent, " ")));
        std::string wanted;
        if (expected.starts_with("error ")) wanted = bare(cut(expected, "->"));
        expected = bare(expected);
        answer.fill(std::byte{isWord(expected) ? std::uint8_t{untouched} : std::uint8_t{0}});
        std::string wrong;
        if (sent == "*")
            std::memcpy(answer.data(), &object, sizeof object);
        else
            wrong = perform(object, sent, !expected.empty(), isWord(expected));
        std::string raised;
        for (const auto number : errors.numbers()) raised += (raised.empty() ? "error " : " ") + std::to_string(number);
        if (raised != wanted) return "raised '" + raised + "' instead of '" + wanted + "'";
        if (!wrong.empty() || expected.empty()) return wrong;
        const auto shown = show(expected, sent != "*");
        return shown == expected ? std::string() : "answered " + shown;
    }

private:
    Ref namedAt(std::string_view name) const {
        if (name == "it" || name == "nil") return name == "it" ? it : null;
        const auto number = static_cast<std::size_t>(numberIn(name.substr(1)));
        return number > 0 ? named.at(number - 1) : classForProgram(name.substr(1));
    }
    static std::int64_t numberIn(std::string_view digits) {
        std::int64_t number = 0;
        std::from_chars(digits.data(), digits.data() + digits.size(), number);
        return number;
    }

    // What an area holds: up to its last byte that is not 0, at least `least` bytes.
    static std::string filled(const char *area, std::size_t least) {
        auto length = areaSize;
        while (length > least && area[length - 1] == 0) --length;
        return "[" + std::string(area, length) + "]";
    }

    // Answers what the areas among the arguments hold instead of what they should.
    std::string perform(Ref object, std::string_view sent, bool answers, bool answersElement) {
        const auto name = cut(sent, " ");
        width = answersElement ? widthIn(object) : 0;
        std::vector<std::string_view> items;
        std::vector<std::vector<char>> bytes; // of exactly their length, so that reading behind them shows
        for (sent = bare(sent); !sent.empty(); sent = bare(sent)) {
            items.push_back(bare(cut(sent, ",")));
            bytes.push_back(argument(object, items.back()));
        }
        void *arguments[16] = {answers ? answer.data() : nullptr};
        for (std::size_t i = 0; i < items.size(); ++i) arguments[i + 1] = items[i] == "-" ? nullptr : bytes[i].data();
        oocobol::send(object, siteOf(name), arguments, static_cast<std::uint32_t>(items.size() + 1));
        std::string wrong;
        for (const auto made : std::exchange(lent, {})) finalize(made);
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (!items[i].starts_with('[')) continue;
            const auto holds = filled(bytes[i].data(), items[i].size() - 2);
            if (holds != items[i]) wrong += "filled " + holds + " ";
        }
        return wrong;
    }
    static std::vector<char> exactly(std::string_view text) { return {text.begin(), text.end()}; }
    std::vector<char> argument(Ref object, std::string_view item) {
        if (item.ends_with('`')) return exactly(bytesOf(lent.emplace_back(textLike(object, item))));
        if (isWord(item)) return exactly(padded(item, widthIn(object)));
        if (item.starts_with('(')) {
            lent.push_back(collectionOf(classOf(object), send<Ref>(SITE("template"), object), inside(item)));
            return exactly(bytesOf(lent.back()));
        }
        if (item.starts_with('\'')) return exactly(std::string(inside(item)) + '\0');
        if (item.starts_with('{')) return exactly(inside(item));
        if (item.starts_with('[')) return std::vector<char>(areaSize);
        if (item.starts_with('$') || item == "it") return exactly(bytesOf(namedAt(item)));
        return exactly(bytesOf(numberIn(item)));
    }

    // The answer in the form in which the expectation is written.
    std::string show(std::string_view expected, bool own) {
        const auto object = valueIn<Ref>(answer.data());
        if (expected == "it") {
            it = object;
            return isLive(object) ? "it" : "no object";
        }
        if (isWord(expected)) return shownElement();
        if (expected == "nil") return object ? "an object" : "nil";
        if (expected.starts_with('$')) return object == namedAt(expected) ? std::string(expected) : "another object";
        if (expected.starts_with('['))
            return filled(reinterpret_cast<const char *>(answer.data()), expected.size() - 2);
        if (expected.starts_with('\'') || expected.starts_with('(')) {
            if (!isLive(object)) return "no object";
            const auto shown = expected[0] == '(' ? "(" + wordsIn(object) + ")" : "'" + valueOf(object) + "'";
            if (own) finalize(object);
            return shown;
        }
        const auto number = valueIn<std::int64_t>(answer.data()); // the high half is filled when it is the answer's
        return std::to_string(number >> 32 == 0 ? valueIn<std::int32_t>(answer.data()) : number);
    }

    std::string shownElement() const {
        std::string word(reinterpret_cast<const char *>(answer.data()), answer.size());
        word.resize(word.find_last_not_of(untouched) + 1);
        if (word.empty()) return "untouched";
        if (word.size() != width) return "[" + word + "]";
        if (word.find_first_not_of('\0') == std::string::npos) return "zeros";
        return word.substr(0, word.find_last_not_of(' ') + 1);
    }

    Ref receiver, it{};
    std::vector<Ref> named;
    std::vector<Ref> lent; // what was made for one message
    std::size_t width = 0; // of the element that it answers
    RaisedErrors errors;
    alignas(8) std::array<std::byte, areaSize> answer;
};

void hold(Conversation &&talk, std::string_view conversation, const char *file, int line) {
    while (!bare(conversation).empty()) {
        const auto message = bare(cut(conversation, ";"));
        if (const auto wrong = talk.take(message); !wrong.empty())
            ADD_FAILURE_AT(file, line) << message << ": " << wrong;
    }
}

} // namespace

std::size_t widthIn(Ref collection) {
    const auto elementTemplate = send<Ref>(SITE("template"), collection);
    return elementTemplate ? send<Count>(SITE("sizeinbytes"), elementTemplate) : sizeof(Ref);
}

static bool isDictionary(Ref collection) {
    return familyOfClass(classOf(collection))->isKindOf(*familyOfClass(classForProgram("dictinry")));
}
Ref filled(Ref collection, std::string_view words) {
    for (Index i = 1; !words.empty(); ++i) {
        const std::string word(cut(words, " "));
        const auto element = padded(word, widthIn(collection));
        if (classOf(collection) == CLASS("array"))
            send(SITE("atput"), collection, i, area(element));
        else if (isDictionary(collection))
            send(SITE("atput"), collection, area(padded(word.substr(0, 1), element.size())),
                 static_cast<Count>(std::stoul(word.substr(1))));
        else
            send(SITE("add"), collection, area(element));
    }
    return collection;
}
Ref collectionOf(Ref ofClass, Ref elementTemplate, std::string_view words, Index size) {
    const auto count = words.empty() ? 0 : 1 + static_cast<Index>(std::count(words.begin(), words.end(), ' '));
    return filled(send<Ref>(SITE("ofvalues"), ofClass, elementTemplate, size < 0 ? count : size), words);
}

std::string wordsIn(Ref collection) {
    std::vector<std::string> words;
    const auto areReferences = !send<Ref>(SITE("template"), collection);
    const auto take = [&](std::string word) {
        const auto element = areReferences ? valueIn<Ref>(word.data()) : null;
        if (element) word = valueOf(element);
        words.push_back(word.substr(0, word.find_last_not_of(' ') + 1));
    };
    const Temporary keys(isDictionary(collection) ? send<Ref>(SITE("keys"), collection) : null);
    const auto width = widthIn(keys.ref() ? keys.ref() : collection);
    if (send<bool>(SITE("issequenced"), collection)) {
        for (Index i = 1, size = send<Index>(SITE("size"), collection); i <= size; ++i) {
            std::string word(width, ' ');
            send(SITE("at"), collection, into(word), i);
            take(word);
        }
    } else {
        const Temporary walk(block([&](void **arguments) {
            take(std::string(static_cast<const char *>(arguments[0]), width));
            if (isDictionary(collection)) words.back() += std::to_string(valueIn<Count>(arguments[1]));
            return 0;
        }));
        send(isDictionary(collection) ? SITE("keysanddatado") : SITE("do"), collection, walk.ref());
        std::sort(words.begin(), words.end());
    }
    std::string shown;
    for (const auto &word : words) shown += (shown.empty() ? "" : " ") + word;
    return shown;
}

oops_site &siteOf(std::string_view name) {
    static std::map<std::string, oops_site, std::less<>> sites;
    auto found = sites.find(name);
    if (found == sites.end()) {
        found = sites.emplace(name, oops_site{}).first;
        found->second = OOPS_SITE(found->first.c_str());
    }
    return found->second;
}

void says(Ref receiver, std::string_view conversation, std::initializer_list<Ref> named, const char *file, int line) {
    hold(Conversation(receiver, named), conversation, file, line);
}
void says(Named receiver, std::string_view conversation, std::initializer_list<Named> named, const char *file,
          int line) {
    std::vector<Ref> objects;
    for (const auto &one : named) objects.push_back(one.object);
    hold(Conversation(receiver.object, std::move(objects)), conversation, file, line);
}

} // namespace oocobol::test
