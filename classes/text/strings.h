// What the two classes of single-byte text share: the layout, how texts are made, and nearly all of their methods.
//
// A text is an array of one-byte elements: the slot count is its size, and one spare byte stands behind the
// characters, 0 unless the text has grown or shrunk. Methods that make texts make them of the receiver's class.
#pragma once

#include <string_view>

#include "classes/collections/collection.h"
#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] CharacterArrayFields : SequencedFields {};
struct [[gnu::packed]] ByteArrayFields : SequencedFields {};

inline bool isTextFamily(const ClassFamily &family) noexcept {
    return isLaidOutAs<CharacterArrayFields>(family) || isLaidOutAs<ByteArrayFields>(family);
}

// The characters of a text; good until the next message.
inline std::string_view charactersOf(const CollectionFields &fields) noexcept {
    if (fields.storage == nullptr) return {};
    return {reinterpret_cast<const char *>(fields.storage), fields.slotCount};
}

inline constexpr std::size_t longestText = 0x7FFFFFFE;

// A text in the making, of a given class and size. As long as no message that is redefined would be left out it is the
// object itself, else a work area for `withlengthvalue`.
class NewText {
public:
    NewText(Ref classObject, std::size_t size) noexcept;
    NewText(const NewText &) = delete;
    NewText &operator=(const NewText &) = delete;

    // What does not fit any more is left out. The bytes must not lie in an object that user code may have touched
    // since they were looked up; making a NewText counts as such a touch.
    NewText &append(std::string_view bytes) noexcept;
    NewText &convert(void (*conversion)(char *text, std::size_t length)) noexcept;
    // The finished text; raises what keeps it from being made.
    Answer<Ref> finish() noexcept;

private:
    char *area() noexcept;

    Ref ofClass;
    Ref made;
    std::size_t size;
    std::size_t filled = 0;
    WorkArea copy;
};

// A text of that class with these bytes. They may lie in an object.
Answer<Ref> textOfClass(Ref classObject, std::string_view bytes) noexcept;

namespace strings {

using ClassSelf = Receiver;
using Self = Instance<SequencedFields>;

// ---- Class methods ------------------------------------------------------------------------------------------------

// For `new`: an empty text of that length, made at once; null when it must be made by messages or cannot be had. And
// what the messages have made, given its length.
Ref blank(Ref classObject, Index length) noexcept;
Ref initialized(Ref made, Index length);

// withlength (length), ofvalues (template, count) -> text. The template does not matter.
Ref withLength(ClassSelf self, Index length);
Ref ofValues(ClassSelf self, Ref, Index count);
// ofreferences (count). Ends in shouldnotimplement.
Answer<Ref> ofReferences(ClassSelf self, Index);
// withall (object) -> a copy of the object.
Ref withAll(ClassSelf self, Ref other);
// withlengthvalue, withbytelengthvalue (length, value) -> text.
Answer<Ref> withLengthValue(ClassSelf self, Index length, Bytes value);
Answer<Ref> withByteLengthValue(ClassSelf self, Index length, Bytes value);
// frombuffer (length, buffer) -> text. Spaces and null bytes at the end are left out.
Answer<Ref> fromBuffer(ClassSelf self, Index length, Bytes buffer);
// withvalue, withspaceterminator, withspaceornullterminator (value) -> text.
Answer<Ref> withValue(ClassSelf self, Bytes value);
Answer<Ref> withSpaceTerminator(ClassSelf self, Bytes value);
Answer<Ref> withSpaceOrNullTerminator(ClassSelf self, Bytes value);

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equal (object) -> flag. False for what contains no characters.
Answer<bool> equal(Self self, Ref other);
// lessthan, greaterthan, lessthanorequal, greaterthanorequal (object) -> flag.
Answer<bool> lessThan(Self self, Ref other);
Answer<bool> greaterThan(Self self, Ref other);
Answer<bool> lessThanOrEqual(Self self, Ref other);
Answer<bool> greaterThanOrEqual(Self self, Ref other);
// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool equalByLengthValue(Self self, Index length, Bytes value);
bool lessThanByLengthValue(Self self, Index length, Bytes value);
bool greaterThanByLengthValue(Self self, Index length, Bytes value);
// equalsignorecase (object), equalsignorecasebylengthvalue (length, value) -> flag.
bool equalsIgnoreCase(Self self, Ref other);
bool equalsIgnoreCaseByLengthValue(Self self, Index length, Bytes value);
// compareto (object) -> -1, 0 or 1.
Answer<Index> compareTo(Self self, Ref other);

// ---- Reading and writing --------------------------------------------------------------------------------------------

// setvalue (value). As many bytes as there are characters.
void setValue(Self self, Bytes value);
// movevalue (object). Cut or padded with spaces to the size.
Answer<void> moveValue(Self self, Ref other);
// resetvalue (object). Self becomes a copy of it.
void resetValue(Self self, Ref other);
// atput (position, character). Outside the text ends in errorinbounds.
Answer<void> atPut(Self self, Index position, Bytes character);
// getvalue () -> the characters. getvaluez () -> with a null byte. asparameter () -> with the spare byte.
void getValue(Self self, Returning value);
void getValueZ(Self self, Returning value);
void asParameter(Self self, Returning value);
// getvaluewithsize (size) -> as many bytes. getvaluewithsizeatposition (position, size) -> as many from there. Padded
// with spaces; a position outside the text answers spaces and ends in errorinbounds.
void getValueWithSize(Self self, Returning value, Index size);
Answer<void> getValueWithSizeAtPosition(Self self, Returning value, Index position, Index size);
// getaddress () -> address. sizeinbytes () -> count.
Address getAddress(Self self);
Count sizeInBytes(Self self);

// ---- Other texts made of it -----------------------------------------------------------------------------------------

// concat (object), concatz (value) -> text.
Answer<Ref> concat(Self self, Ref other);
Ref concatZ(Self self, Bytes value);
// copyfromto (from, to) -> text. Positions outside the text end in errorinbounds.
Answer<Ref> copyFromTo(Self self, Index from, Index to);
// indexofsubcollection (object, start) -> position, 0 when it does not occur. Another kind of object ends in
// compatibilityerror, a start below 1 in errorinbounds; an empty one raises 11.
Answer<Count> indexOfSubcollection(Self self, Ref wanted, Index start);
// growto (size) -> self. Raises 32 when there is no storage; a negative size ends in invalidparameter.
Answer<Ref> growTo(Self self, Index size);
// trimblanks, aslowercase, asuppercase () -> text.
Answer<Ref> trimBlanks(Self self);
Answer<Ref> asLowerCase(Self self);
Answer<Ref> asUpperCase(Self self);
// asseparatelines () -> ordered collection of texts. asarrayofsubstrings () -> array of texts.
Answer<Ref> asSeparateLines(Self self);
Answer<Ref> asArrayOfSubstrings(Self self);

// ---- Conversions and queries ----------------------------------------------------------------------------------------

// ashex, ascomp5 () -> number. ascomp5object () -> item of `cobolcomp5`. aspicx () -> item of `cobolpicx`.
Count asHex(Self self);
Count asComp5(Self self);
Ref asComp5Object(Self self);
Answer<Ref> asPicX(Self self);
// ascharacterarray, asbytearray () -> text. A copy.
Ref asOwnKind(Self self);
// asinternalfilename () -> text.
Ref asInternalFileName(Self self);
// description () -> text, in double quotes.
Answer<Ref> description(Self self);
// display ().
void display(Self self);
// hash () -> count.
Count hash(Self self);
// iscompatible (object), containscharacters () -> flag.
bool isCompatible(Self self, Ref other);
bool containsCharacters(Self self);

} // namespace strings
} // namespace oocobol
