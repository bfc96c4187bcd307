// Conversations: messages to an object and what it must answer, several a line.
//
//     says(list, "add fig; size -> 3; at 2 -> fig; firstindexof fig -> 2; at 0 -> error 3; * -> (a fig z)");
//
// Messages are separated by semicolons, their arguments by commas. A message that raises an error it was not expected
// to raise fails, whatever it answers. Areas for what no message can hold in full are tested with EXPECT_ in C++.
//
//   as an argument        12 a 4-byte number, 'text' its bytes and a null, {text} its bytes, one at least, and none
//                         behind them, $1 the first named object, $bag the class of that program, nil, - omitted,
//                         [bytes] an area that must hold these bytes afterwards and nothing else, fig an element of
//                         the receiver, padded with spaces, (a b) a collection as the receiver is one, of these words,
//                         `text` a text or an item as the receiver is one, of these bytes, bytearry`text` one of the
//                         class of that program; both are there for this message only
//   behind the arrow      12 a number of up to 8 bytes, 'text' an object with that value, (a b) a collection of these
//                         words (sorted where it has no order; letters and numbers in dictionaries), [bytes] an area of
//                         these bytes and nothing else, fig an element that is just as wide as the receiver's are,
//                         zeros one of zeros, untouched nothing at all, $1 that very object, nil, it any object, which
//                         goes by that name from there on: getoutputs -> it; it size -> 3, error 3 the errors raised in
//                         this order, then perhaps what is answered: error 3 -> 0
//   in front              $1 size: to the first named object instead; nil size, it size, `text` size
//   *                     the receiver itself, to be compared as if it were answered
//
// An object answered as 'text' or (words) is finalized: it is the sender's.
#pragma once

#include <initializer_list>
#include <string_view>

#include "oocobol/oocobol.h"
#include "runtime/types.h"

namespace oocobol::test {

void says(Ref receiver, std::string_view conversation, std::initializer_list<Ref> named = {},
          const char *file = __builtin_FILE(), int line = __builtin_LINE());

// The same where what keeps objects stands among them.
class Named {
public:
    Named(Ref named) : object(named) {}
    template <class Keeper> Named(const Keeper &keeper) : object(keeper.ref()) {}
    Ref object;
};
void says(Named receiver, std::string_view conversation, std::initializer_list<Named> named = {},
          const char *file = __builtin_FILE(), int line = __builtin_LINE());

// How wide the elements of a collection are; puts words into it, padded, pairs of a letter and a number into
// dictionaries: "a1 b2"; makes one of them with so many slots, or one per word.
std::size_t widthIn(Ref collection);
Ref filled(Ref collection, std::string_view words);
Ref collectionOf(Ref ofClass, Ref elementTemplate, std::string_view words, Index size = -1);
// The elements of a collection, sorted where it has no order.
std::string wordsIn(Ref collection);

// The site of a message whose name only the test knows: one per name, kept for the run.
oops_site &siteOf(std::string_view name);

} // namespace oocobol::test
