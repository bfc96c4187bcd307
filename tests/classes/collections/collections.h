// Collections in tests: made from words, read back as words. A word is padded to the width of the elements.
#pragma once

#include <initializer_list>

#include "tests/support/says.h"
#include "tests/support/support.h"

namespace oocobol::test {

using Words = std::vector<std::string>;

inline Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }
inline std::string trimmed(std::string text) {
    text.erase(text.find_last_not_of(' ') + 1);
    return text;
}

// Sends a message with an element argument first.
template <class Result = void, class... Rest>
Result sendWord(oops_site &site, Ref collection, std::string_view word, const Rest &...rest) {
    const auto bytes = padded(word, widthIn(collection));
    return send<Result>(site, collection, area(bytes), rest...);
}
inline void add(Ref collection, std::string_view word) { sendWord(SITE("add"), collection, word); }

inline Ref newCollection(const char *program, Index width, Index size) {
    return send<Ref>(SITE("ofvalues"), classForProgram(program), picX(width), size);
}
inline Ref listOf(std::string_view words, Index width = 4) {
    return collectionOf(CLASS("ordrdcll"), picX(width), words);
}
inline Ref sortedOf(std::string_view words) { return collectionOf(CLASS("srtdclln"), picX(4), words); }
inline Ref arrayOf(std::string_view words, Index width = 4) { return collectionOf(CLASS("array"), picX(width), words); }
// A set or bag of so many slots.
inline Ref hashedOf(const char *program, std::string_view words, Index size = 0) {
    return collectionOf(classForProgram(program), picX(4), words, size);
}
inline Ref referencesOf(const char *program, const std::vector<Ref> &objects) {
    const auto made = send<Ref>(SITE("ofreferences"), classForProgram(program), static_cast<Index>(objects.size()));
    Index index = 0;
    for (const auto object : objects) {
        ++index;
        if (classOf(made) == CLASS("array"))
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
inline Index numberIn(void **arguments, std::size_t which = 0) { return valueIn<Index>(arguments[which]); }
// A callback on an entry, finalized with the test.
struct Block : Temporary {
    explicit Block(std::function<std::int64_t(void **)> function) : Temporary(block(std::move(function))) {}
};
// One that notes what it gets, words ('w') and numbers ('n'), and answers what `then` makes of it: 0 unless told.
class Noting {
public:
    explicit Noting(std::string_view kinds = "w", std::function<std::int64_t(const std::string &)> then = {},
                    std::size_t width = 4)
        : noting([this, kinds, then = std::move(then), width](void **arguments) {
              std::string got;
              for (std::size_t i = 0; i < kinds.size(); ++i)
                  got += kinds[i] == 'n' ? std::to_string(numberIn(arguments, i)) : wordIn(arguments, width, i);
              notes += (notes.empty() ? "" : " ") + got;
              return then ? then(got) : 0;
          }) {}
    Ref ref() const { return noting.ref(); }
    // What came since it was last asked.
    std::string seen() { return std::exchange(notes, {}); }

private:
    std::string notes;
    Block noting;
};

// A conversation about an index, written # in it.
inline std::string about(std::string conversation, Index index) {
    for (std::size_t at; (at = conversation.find('#')) != std::string::npos;)
        conversation.replace(at, 1, std::to_string(index));
    return conversation;
}

// Ends with no object more and no error that was not looked at.
class ErrorsAndLeaks {
protected:
    ~ErrorsAndLeaks() { EXPECT_TRUE(errors.all.empty()) << "first " << errors.all.front().number; }
    RaisedErrors errors;
};
class CollectionTest : public testing::Test, protected ErrorsAndLeaks {};
// Cases that run on several kinds of collections, with native loops and without.
template <class Kind> class KindsTest : public testing::TestWithParam<Kind>, protected ErrorsAndLeaks {
protected:
    const Road road{this->GetParam().native};
};

} // namespace oocobol::test
