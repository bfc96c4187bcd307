// The methods that texts of single bytes and of mixed characters have in common: what they do with the bytes is the
// same. Each kind says by `bytesOf(self)` what these are; they are good until the next message.
#pragma once

#include "classes/text/mixed_text.h"
#include "classes/text/operand.h"
#include "classes/text/pieces.h"
#include "classes/text/strings.h"
#include "classes/text/text_algorithms.h"
#include "host/host.h"

namespace oocobol {

inline std::string_view bytesOf(const Instance<SequencedFields> &self) noexcept { return charactersOf(*self); }
inline std::string_view bytesOf(const MixedSelf &self) noexcept { return self.text(); }

namespace texts {

// ---- Comparing ----------------------------------------------------------------------------------------------------

template <class Self, class Decide>
auto compareWith(const Self &self, Ref other, Decide decide) -> Answer<decltype(decide(0))> {
    const Operand value(other);
    if (value.failure()) return value.failure();
    return decide(comparePadded(bytesOf(self), value.bytes()));
}

// lessthan, greaterthan, lessthanorequal, greaterthanorequal (object) -> flag.
template <class Self> Answer<bool> lessThan(const Self &self, Ref other) {
    return compareWith(self, other, [](int order) { return order < 0; });
}
template <class Self> Answer<bool> greaterThan(const Self &self, Ref other) {
    return compareWith(self, other, [](int order) { return order > 0; });
}
template <class Self> Answer<bool> lessThanOrEqual(const Self &self, Ref other) {
    return compareWith(self, other, [](int order) { return order <= 0; });
}
template <class Self> Answer<bool> greaterThanOrEqual(const Self &self, Ref other) {
    return compareWith(self, other, [](int order) { return order >= 0; });
}
// compareto (object) -> -1, 0 or 1.
template <class Self> Answer<Index> compareTo(const Self &self, Ref other) {
    return compareWith(self, other, [](int order) -> Index { return (order > 0) - (order < 0); });
}

// equalsignorecase (object), equalsignorecasebylengthvalue (length, value) -> flag.
template <class Self> bool equalsIgnoreCase(const Self &self, Ref other) {
    const Temporary own(sendSelf<Ref>(SITE("asuppercase"), self));
    const Temporary given(send<Ref>(SITE("asuppercase"), other));
    return send<bool>(SITE("equal"), own.ref(), given.ref());
}
template <class Self> bool equalsIgnoreCaseByLengthValue(const Self &self, Index length, Bytes value) {
    const Temporary given(send<Ref>(SITE("withlengthvalue"), self.classObject(), length, value));
    return sendSelf<bool>(SITE("equalsignorecase"), self, given.ref());
}

// ---- Reading and replacing ------------------------------------------------------------------------------------------

// resetvalue (object). Self becomes a copy of it.
template <class Self> void resetValue(const Self &self, Ref other) { turnInto(self, send<Ref>(SITE("copy"), other)); }

// getvalue () -> the bytes. getvaluez () -> with a null byte.
template <class Self> void getValue(const Self &self, Returning value) {
    const auto text = bytesOf(self);
    value.store(text.data(), text.size());
}
template <class Self> void getValueZ(const Self &self, Returning value) {
    const auto size = bytesOf(self).size();
    getValue(self, value);
    if (value) value.address[size] = std::byte{0};
}

// ---- Conversions and queries ----------------------------------------------------------------------------------------

// ashex, ascomp5 () -> number. ascomp5object () -> item of `cobolcomp5`.
template <class Self> Count asHex(const Self &self) { return hexadecimalValue(bytesOf(self)); }
template <class Self> Count asComp5(const Self &self) { return decimalValue(bytesOf(self)); }
template <class Self> Ref asComp5Object(const Self &self) {
    return send<Ref>(SITE("withvalue"), CLASS("comp5"), sendSelf<Count>(SITE("ascomp5"), self));
}

// asinternalfilename () -> text.
template <class Self> Ref asInternalFileName(const Self &self) {
    char name[host::fileNameSize];
    host::toInternalFileName(bytesOf(self), name);
    return send<Ref>(SITE("withvalue"), self.classObject(), Bytes{name});
}

// display ().
template <class Self> void display(const Self &self) { host::display(bytesOf(self)); }

// iscompatible (object), containscharacters () -> flag.
template <class Self> bool isCompatible(const Self &, Ref other) {
    return send<bool>(SITE("containscharacters"), other);
}
template <class Self> bool containsCharacters(const Self &) { return true; }

// ---- Pieces ---------------------------------------------------------------------------------------------------------

using FindPiece = Piece (*)(std::string_view text, std::size_t from) noexcept;

// asseparatelines () -> ordered collection of texts of the class.
template <class Self> Answer<Ref> linesOf(const Self &self, Ref ofClass, FindPiece nextLine) {
    Piece line;
    const auto make = [&](std::string_view piece) { return textOfClass(ofClass, piece); };
    return listOfPieces(5, make, [&] {
        const auto text = bytesOf(self);
        line = nextLine(text, line.end);
        return text.substr(line.begin, line.size());
    });
}

// Whether the array was filled to the end of the list.
inline bool endsLike(Ref array, Ref list) {
    const auto size = send<Index>(SITE("size"), list);
    if (send<Index>(SITE("size"), array) != size) return false;
    return size == 0 || send<Ref>(SITE("at"), array, size) == send<Ref>(SITE("at"), list, size);
}

// asarrayofsubstrings () -> array of texts of the class. Of a copy of the characters, as the program gets it.
template <class Self> Answer<Ref> wordsOf(const Self &self, Ref ofClass, FindPiece nextWord) {
    const auto length = sendSelf<Count>(SITE("sizeinbytes"), self);
    WorkArea copy(valueCapacity(self.ref(), length));
    if (!copy) return raise(Error::noWorkArea);
    sendSelf(SITE("getvalue"), self, copy.returning());
    const std::string_view text(copy.text().address, length);

    Piece word;
    const auto make = [&](std::string_view piece) { return textOfClass(ofClass, piece); };
    const auto words = listOfPieces(10, make, [&] {
        word = nextWord(text, word.end);
        return text.substr(word.begin, word.size());
    });
    if (!words.value) return words;
    const auto array = send<Ref>(SITE("asarray"), words.value);
    const auto isWhole = array && endsLike(array, words.value);
    if (isWhole)
        send<Ref>(SITE("finalize"), words.value);
    else
        finalizeWithPieces(words.value);
    if (isWhole || !array) return array;
    return send<Ref>(SITE("finalize"), array); // memory was short on the way, which has been raised
}

} // namespace texts
} // namespace oocobol
