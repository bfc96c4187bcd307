// Collections in tests: made from words, read back as words. A word is padded to the width of the elements.
#pragma once

#include <initializer_list>

#include "tests/support/support.h"

namespace oocobol::test {

using Words = std::vector<std::string>;

inline Index widthOf(Ref collection) {
    return static_cast<Index>(send<Count>(SITE("sizeinbytes"), send<Ref>(SITE("template"), collection)));
}
inline Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }

inline std::string elementAt(Ref collection, Index index) {
    std::string bytes(static_cast<std::size_t>(widthOf(collection)), '?');
    send(SITE("at"), collection, Returning{{reinterpret_cast<std::byte *>(bytes.data())}}, index);
    return bytes;
}
inline std::string trimmed(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}
inline std::string wordAt(Ref collection, Index index) { return trimmed(elementAt(collection, index)); }
inline Words wordsOf(Ref collection) {
    Words words;
    for (Index i = 1; i <= sizeOf(collection); ++i) words.push_back(wordAt(collection, i));
    return words;
}
inline Words take(Ref collection) {
    const auto words = wordsOf(collection);
    finalize(collection);
    return words;
}

// Sends a message with an element argument first.
template <class Result = void, class... Rest>
Result sendWord(oops_site &site, Ref collection, std::string_view word, const Rest &...rest) {
    const auto bytes = padded(word, static_cast<std::size_t>(widthOf(collection)));
    return send<Result>(site, collection, area(bytes), rest...);
}
inline void add(Ref collection, std::string_view word) { sendWord(SITE("add"), collection, word); }
inline void put(Ref collection, Index index, std::string_view word) {
    const auto bytes = padded(word, static_cast<std::size_t>(widthOf(collection)));
    send(SITE("atput"), collection, index, area(bytes));
}

inline Ref newCollection(const char *program, Index width, Index size) {
    return send<Ref>(SITE("ofvalues"), classForProgram(program), picX(width), size);
}
inline Ref listOf(const Words &words, Index width = 4) {
    const auto list = newCollection("ordrdcll", width, static_cast<Index>(words.size()));
    for (const auto &word : words) add(list, word);
    return list;
}
inline Ref sortedOf(const Words &words, Index width = 4) {
    const auto sorted = newCollection("srtdclln", width, 0);
    for (const auto &word : words) add(sorted, word);
    return sorted;
}
inline Ref arrayOf(const Words &words, Index width = 4) {
    const auto array = newCollection("array", width, static_cast<Index>(words.size()));
    Index index = 0;
    for (const auto &word : words) put(array, ++index, word);
    return array;
}
inline Ref referencesOf(const char *program, const std::vector<Ref> &objects) {
    const auto made = send<Ref>(SITE("ofreferences"), classForProgram(program), static_cast<Index>(objects.size()));
    Index index = 0;
    for (const auto object : objects) {
        ++index;
        if (std::string_view(program) == "array")
            send(SITE("atput"), made, index, object);
        else
            send(SITE("add"), made, object);
    }
    return made;
}
inline Ref referenceAt(Ref collection, Index index) { return send<Ref>(SITE("at"), collection, index); }

// What a block gets as its first argument, as a word.
inline std::string wordIn(void **arguments, std::size_t width = 4, std::size_t which = 0) {
    return trimmed(std::string(static_cast<const char *>(arguments[which]), width));
}
inline Index numberIn(void **arguments, std::size_t which = 0) {
    Index number;
    std::memcpy(&number, arguments[which], sizeof number);
    return number;
}
// A callback on an entry, finalized with the test.
class Block {
public:
    explicit Block(std::function<std::int64_t(void **)> function) : object(block(std::move(function))) {}
    ~Block() { finalize(object); }
    Block(const Block &) = delete;
    Block &operator=(const Block &) = delete;
    Ref ref() const { return object; }

private:
    Ref object;
};

// Native loops switched off while it lives.
class OnlyMessages {
public:
    OnlyMessages() { allowNativePaths(false); }
    ~OnlyMessages() { allowNativePaths(true); }
    OnlyMessages(const OnlyMessages &) = delete;
    OnlyMessages &operator=(const OnlyMessages &) = delete;
};

} // namespace oocobol::test
