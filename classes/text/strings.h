// What the two classes of single-byte text share: the layout, how texts are made, and the methods that know that every
// byte is a character. Those that do not care are in text_protocol.h.
//
// A text is an array of one-byte elements: the slot count is its size, and one spare byte stands behind the
// characters, 0 unless the text has grown or shrunk. Methods that make texts make them of the receiver's class.
#pragma once

#include <optional>
#include <string_view>

#include "classes/collections/collection.h"
#include "runtime/module.h"

namespace oocobol {

struct [[gnu::packed]] CharacterArrayFields : SequencedFields {};
struct [[gnu::packed]] ByteArrayFields : SequencedFields {};

inline bool isTextFamily(const ClassFamily &family) noexcept {
    return isLaidOutAs<CharacterArrayFields>(family) || isLaidOutAs<ByteArrayFields>(family);
}

// The characters of a text, no more than there is storage for: whoever initializes one says how wide elements are. Good
// until the next message.
inline std::string_view charactersOf(const CollectionFields &fields) noexcept {
    if (fields.storage == nullptr) return {};
    const auto size = fields.slotCount < fields.storageLength ? fields.slotCount : fields.storageLength;
    return {reinterpret_cast<const char *>(fields.storage), size};
}

inline constexpr std::size_t longestText = 0x7FFFFFFE;

// A text in the making, of a given class and size. As long as no message that is redefined would be left out it is the
// object itself, else a work area for `withlengthvalue`. No message may be sent before it is finished.
class NewText {
public:
    NewText(Ref classObject, std::size_t size) noexcept;
    NewText(const NewText &) = delete;
    NewText &operator=(const NewText &) = delete;

    // What does not fit any more is left out.
    NewText &append(std::string_view bytes) noexcept {
        const auto taken = bytes.size() < size - filled ? bytes.size() : size - filled;
        if (area != nullptr && taken != 0) std::memcpy(area + filled, bytes.data(), taken);
        filled += taken;
        return *this;
    }
    NewText &convert(void (*conversion)(char *text, std::size_t length)) noexcept {
        if (area != nullptr) conversion(area, filled);
        return *this;
    }
    // The finished text; raises what keeps it from being made.
    Answer<Ref> finish() noexcept;

private:
    void takeWorkArea() noexcept;
    Answer<Ref> finishMixed() noexcept;

    Ref ofClass;
    Ref made;
    std::size_t size;
    std::size_t filled = 0;
    char *area = nullptr;
    std::optional<WorkArea> copy;
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
Ref withLength(const ClassSelf &self, Index length);
Ref ofValues(const ClassSelf &self, Ref, Index count);
// ofreferences (count). Ends in shouldnotimplement.
Answer<Ref> ofReferences(const ClassSelf &self, Index);
// withall (object) -> a copy of the object.
Ref withAll(const ClassSelf &self, Ref other);
// withlengthvalue, withbytelengthvalue (length, value) -> text. By the second no double-byte characters get here.
Answer<Ref> withLengthValue(const ClassSelf &self, Index length, Bytes value);
Answer<Ref> withByteLengthValue(const ClassSelf &self, Index length, Bytes value);
// frombuffer (length, buffer) -> text. Spaces and null bytes at the end are left out.
Answer<Ref> fromBuffer(const ClassSelf &self, Index length, Bytes buffer);
// withvalue, withspaceterminator, withspaceornullterminator (value) -> text.
Answer<Ref> withValue(const ClassSelf &self, Bytes value);
Answer<Ref> withSpaceTerminator(const ClassSelf &self, Bytes value);
Answer<Ref> withSpaceOrNullTerminator(const ClassSelf &self, Bytes value);

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equal (object) -> flag. False for what contains no characters.
Answer<bool> equal(const Self &self, Ref other);
// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool equalByLengthValue(const Self &self, Index length, Bytes value);
bool lessThanByLengthValue(const Self &self, Index length, Bytes value);
bool greaterThanByLengthValue(const Self &self, Index length, Bytes value);

// ---- Reading and writing --------------------------------------------------------------------------------------------

// setvalue (value). As many bytes as there are characters.
void setValue(const Self &self, Bytes value);
// movevalue (object). Cut or padded with spaces to the size.
Answer<void> moveValue(const Self &self, Ref other);
// atput (position, character). Outside the text ends in errorinbounds.
Answer<void> atPut(const Self &self, Index position, Bytes character);
// asparameter () -> the characters and the spare byte.
void asParameter(const Self &self, Returning value);
// getvaluewithsize (size) -> as many bytes. getvaluewithsizeatposition (position, size) -> as many from there. Padded
// with spaces; a position outside the text answers spaces and ends in errorinbounds.
void getValueWithSize(const Self &self, Returning value, Index size);
Answer<void> getValueWithSizeAtPosition(const Self &self, Returning value, Index position, Index size);
// getaddress () -> address. sizeinbytes () -> count.
Address getAddress(const Self &self);
Count sizeInBytes(const Self &self);

// ---- Other texts made of it -----------------------------------------------------------------------------------------

// concat (object), concatz (value) -> text.
Answer<Ref> concat(const Self &self, Ref other);
Ref concatZ(const Self &self, Bytes value);
// copyfromto (from, to) -> text. Positions outside the text end in errorinbounds.
Answer<Ref> copyFromTo(const Self &self, Index from, Index to);
// indexofsubcollection (object, start) -> position, 0 when it does not occur. Another kind of object ends in
// compatibilityerror, a start below 1 in errorinbounds; an empty one raises 11.
Answer<Count> indexOfSubcollection(const Self &self, Ref wanted, Index start);
// growto (size) -> self. Raises 32 when there is no storage; a negative size ends in invalidparameter.
Answer<Ref> growTo(const Self &self, Index size);
// trimblanks, aslowercase, asuppercase () -> text.
Answer<Ref> trimBlanks(const Self &self);
Answer<Ref> asLowerCase(const Self &self);
Answer<Ref> asUpperCase(const Self &self);
// asseparatelines () -> ordered collection of texts. asarrayofsubstrings () -> array of texts.
Answer<Ref> asSeparateLines(const Self &self);
Answer<Ref> asArrayOfSubstrings(const Self &self);

// ---- Conversions and queries ----------------------------------------------------------------------------------------

// aspicx () -> item of `cobolpicx`.
Answer<Ref> asPicX(const Self &self);
// ascharacterarray, asbytearray () -> text. A copy.
Ref asOwnKind(const Self &self);
// description () -> text, in double quotes.
Answer<Ref> description(const Self &self);
// hash () -> count.
Count hash(const Self &self);

} // namespace strings
} // namespace oocobol
