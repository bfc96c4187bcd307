// Double-byte character array: text of single- and double-byte characters. Positions, lengths and sizes count
// characters; a position is found by walking there.
//
// It is no collection, but it answers the protocol of sequences, character by character. Texts that it makes are made
// by the class for single bytes, which gives them back to this class when they have double-byte characters.
#include <algorithm>
#include <string>

#include "classes/collections/sequence_protocol.h"
#include "classes/intrinsics/intrinsic.h"
#include "classes/text/text_protocol.h"

namespace oocobol {

bool replaceNatively(const MixedSelf &self, std::int64_t start, std::int64_t count, Ref source,
                     std::int64_t sourceStart) {
    return replaceCharacters(self, start, count, source, sourceStart);
}

namespace sequences {

// A text is put together aside as long as nobody would see its empty copy being made; what has not been filled when it
// is finished are null bytes, as in that copy.
template <> class Filling<MixedSelf> {
public:
    explicit Filling(const MixedSelf &self)
        : Filling(self, sizeOf(self), [&] { return sendSelf<Ref>(SITE("copyempty"), self); }) {}
    Filling(const MixedSelf &self, std::int64_t size)
        : Filling(self, size, [&] { return copyEmptyWithSize(self, size); }) {}
    explicit operator bool() const noexcept { return isNative || made; }
    Ref ref() const noexcept { return made.ref(); }

    template <class Source> bool put(Index index, Source &source) {
        if (!isNative) return putElement(made.ref(), index, source);
        const auto *character = reinterpret_cast<const char *>(source.element().address);
        text.append(character, characters::lengthAt(character));
        --left;
        return true;
    }
    Answer<Ref> finish() {
        if (!isNative) return made.giveAway();
        text.append(static_cast<std::size_t>(std::max<std::int64_t>(left, 0)), '\0');
        return textOfClass(CLASS("chararry"), text);
    }

private:
    template <class Make>
    Filling(const MixedSelf &self, std::int64_t size, Make make)
        : isNative(nativePath(self.ref(), {"copyempty", "copyemptywithsize"})), left(size),
          made(isNative ? null : make()) {}

    bool isNative;
    std::int64_t left;
    std::string text;
    Temporary made;
};

} // namespace sequences

namespace {

constexpr char program[] = "dbcsarry";

using ClassSelf = Receiver;
using Self = MixedSelf;

Ref singleByteClass() { return CLASS("chararry"); }

std::string_view textAt(Index length, Bytes value) {
    return {value.address, static_cast<std::size_t>(length > 0 ? length : 0)};
}
std::string_view characterAt(Element character) {
    const auto *address = reinterpret_cast<const char *>(character.address);
    return {address, characters::lengthAt(address)};
}

// ---- Class methods ------------------------------------------------------------------------------------------------

// new (count) -> text. A negative count ends in invalidparameter. Raises 23 when there is no memory.
Answer<Ref> newInstance(ClassSelf self, Index count) {
    if (count < 0) return pass(SITE("invalidparameter"));
    const auto room = std::int64_t{count} * characters::longest + 1;
    if (room > INT32_MAX) return raise(Error::noInstance);
    const auto made = sendSelf<Ref>(SITE("newindexedinstance"), self, static_cast<Index>(room));
    if (made) send(SITE("initialize"), made, count);
    return made;
}

// withlength (count), ofvalues (template, count) -> text. The template does not matter.
Ref withLength(ClassSelf self, Index count) { return sendSelf<Ref>(SITE("new"), self, count); }
Ref ofValues(ClassSelf self, Ref, Index count) { return sendSelf<Ref>(SITE("new"), self, count); }

// withlengthvalue (count, value) -> text.
Ref withLengthValue(ClassSelf self, Index count, Bytes value) {
    if (count >= 0) {
        const auto length = characters::lengthOf(value.address, static_cast<std::size_t>(count));
        if (const auto made = nativeMixedText(self.ref(), {value.address, length})) return made;
    }
    const auto made = sendSelf<Ref>(SITE("new"), self, count);
    if (made) send(SITE("setvalue"), made, value);
    return made;
}

// withbytelengthvalue (length, value) -> text. Raises 91 when the length ends inside a character.
Answer<Ref> withByteLengthValue(ClassSelf self, Index length, Bytes value) {
    if (length < 0) return sendSelf<Ref>(SITE("new"), self, length);
    const auto [count, endsInHalf] = characters::counted(textAt(length, value));
    if (endsInHalf) return raise(Error::halfCharacter);
    return withLengthValue(self, static_cast<Index>(count), value);
}

// frombuffer (length, buffer) -> text of either class. Spaces of both widths and null bytes at the end are left out.
// Raises 91 when the length ends inside a character.
Answer<Ref> fromBuffer(ClassSelf, Index length, Bytes buffer) {
    if (length < 0) return send<Ref>(SITE("withlengthvalue"), singleByteClass(), length, buffer);
    const auto text = textAt(length, buffer);
    if (characters::counted(text).endsInHalf) return raise(Error::halfCharacter);
    return textOfClass(singleByteClass(), characters::withoutTrailingBlanks(text));
}

// withvalue, withspaceterminator, withspaceornullterminator (value) -> text of either class.
Answer<Ref> withValue(ClassSelf, Bytes value) {
    return textOfClass(singleByteClass(), characters::upToNull(value.address));
}
Answer<Ref> withSpaceTerminator(ClassSelf, Bytes value) {
    return textOfClass(singleByteClass(), characters::upToSpace(value.address));
}
Answer<Ref> withSpaceOrNullTerminator(ClassSelf, Bytes value) {
    return textOfClass(singleByteClass(), characters::upToSpaceOrNull(value.address));
}

// withall (object) -> a copy of the object. ofreferences (count). Ends in shouldnotimplement.
Ref withAll(ClassSelf, Ref other) { return send<Ref>(SITE("copy"), other); }
Answer<Ref> ofReferences(ClassSelf, Index) { return pass(SITE("shouldnotimplement")); }

// charlengthinbytes (character) -> 1 or 2.
Count charLengthInBytes(ClassSelf, Bytes character) {
    return static_cast<Count>(characters::lengthAt(character.address));
}

// isdbcsstringbytelengthvalue, isdbcsstringlengthvalue (length, value) -> flag. Whether a double-byte character starts
// within the first bytes, or is among the first characters: the first lead byte says both.
bool isMixed(ClassSelf, Index length, Bytes value) { return characters::anyDoubleByte(textAt(length, value)); }

// stringlengthinchars (value, length), stringlengthinbytes (value, count) -> count.
Count stringLengthInChars(ClassSelf, Bytes value, Index length) {
    return static_cast<Count>(characters::count(textAt(length, value)));
}
Count stringLengthInBytes(ClassSelf, Bytes value, Index count) {
    return count > 0 ? static_cast<Count>(characters::lengthOf(value.address, static_cast<std::size_t>(count))) : 0;
}

// getdbcsspace () -> the double-byte space. getsbcsclass, getdbcsclass () -> class, of the class and of texts.
void getDoubleByteSpace(ClassSelf, Returning space) {
    space.store(characters::doubleByteSpace.data(), characters::doubleByteSpace.size());
}
Ref getSingleByteClass(ClassSelf) { return singleByteClass(); }
Ref getDoubleByteClass(ClassSelf) { return mixedTextClass(); }

// ---- The object ---------------------------------------------------------------------------------------------------

// allocateelement, allocateelements (count) -> address. Room for any character.
Address allocateElement(Self) { return allocate(characters::longest); }
Address allocateElements(Self, Index count) {
    return count < 0 ? nullptr : allocate(static_cast<std::size_t>(count) * characters::longest);
}

// getaddress () -> address. From now on nobody knows when the characters change.
Address getAddress(Self self) {
    self->changes = 0;
    return const_cast<char *>(self.text().data());
}

bool yes(Self) { return true; }
bool containsDoubleByte(Self self) { return characters::anyDoubleByte(self.text()); }

// description () -> text of self's class, in double quotes.
Answer<Ref> description(Self self) {
    std::string quoted = '"' + std::string(self.text());
    if (characters::counted(quoted).endsInHalf) quoted.back() = ' ';
    return mixedTextOfClass(self.classObject(), quoted + '"');
}

// size, capacity () -> count. sizeinbytes () -> count.
Count size(Self self) { return self.ref().isStatic() ? 1 : Count{self->characterLength}; }
Count sizeInBytes(Self self) { return static_cast<Count>(self.text().size()); }
Count getStorageRequirements(Self self) { return size(self) * Count{characters::longest}; }
bool isEmpty(Self self) { return sendSelf<Count>(SITE("size"), self) == 0; }

// grow (). To (capacity + 10) x 2 characters.
void grow(Self self) {
    const auto wanted = (std::int64_t{sendSelf<Count>(SITE("capacity"), self)} + 10) * 2;
    sendSelf<Ref>(SITE("growto"), self, asSize(wanted));
}

// growto (count) -> self, of as many characters: cut, or filled up with spaces. Raises 32 when there is no storage, and
// changes nothing; a negative count ends in invalidparameter.
Answer<Ref> growTo(Self self, Index count) {
    if (count < 0) return pass(SITE("invalidparameter"));
    if (!sendSelf<bool>(SITE("basicgrow"), self, count)) return raise(Error::noStorage);
    if (!stretchMixedText(self, static_cast<std::size_t>(count))) return raise(Error::noStorage);
    return self.ref();
}

// basicgrow (count) -> flag. Room for as many characters, and no more than these kept. A negative count ends in
// invalidparameter; without memory answers false and changes nothing.
Answer<bool> basicGrow(Self self, Index count) {
    if (count < 0) return pass(SITE("invalidparameter"));
    return reserveMixedText(self, static_cast<std::size_t>(count));
}

// becomecomponent (). The object table keeps what makes it one: the characters stay where they are.
void becomeComponent(Self self) { sendSuper(SUPER("makecomponent"), self); }

// template () -> class.
Ref elementTemplate(Self) { return mixedTextClass(); }

// copyemptywithsize (count), copyempty () -> text of null bytes.
Ref copyEmptyWithSize(Self, Index count) {
    return send<Ref>(SITE("ofvalues"), singleByteClass(), CLASS("picx"), count);
}
Ref copyEmpty(Self self) { return sendSelf<Ref>(SITE("copyemptywithsize"), self, sendSelf<Index>(SITE("size"), self)); }

// copy, asarray () -> text. deepcopy () -> text. deepfinalize () -> null.
Ref copy(Self self) { return sendSelf<Ref>(SITE("basiccopy"), self); }
Ref deepCopy(Self self) { return sendSelf<Ref>(SITE("copy"), self); }
Ref deepFinalize(Self self) { return sendSelf<Ref>(SITE("finalize"), self); }

// initialize (count). As many null bytes; no more than there is room for.
void initialize(Self self, Index count) { clearMixedText(self, count > 0 ? static_cast<std::size_t>(count) : 0); }

// quititeration ().
void quitIteration(Self self) { self->quit = 1; }

// add, remove (character). Raise 1 and 5.
Answer<void> add(Self, Area) { return raise(Error::notGrowable); }
Answer<void> remove(Self, Area) { return raise(Error::notRemovable); }

// errorinbounds () -> the handler's answer. Raises 3.
Answer<void> errorInBounds(Self, Returning) { return raise(Error::outOfBounds).answering(sizeof(Ref)); }

// ---- Characters -----------------------------------------------------------------------------------------------------

// How wide an area must be for any of the characters.
std::size_t widest(const Self &self) { return characters::anyDoubleByte(self.text()) ? characters::longest : 1; }

// The character at a position; empty when there is none.
std::string_view characterOf(const Self &self, Index position) {
    const auto offset = offsetOf(self, position);
    if (offset == nowhere) return {};
    const auto rest = self.text().substr(offset);
    return rest.substr(0, characters::lengthAt(rest));
}

// at (position) -> character, of one or two bytes. Outside the text ends in errorinbounds.
Answer<void> at(Self self, Returning character, Index position) {
    const auto found = characterOf(self, position);
    if (found.empty()) return pass(SITE("errorinbounds")).answering(widest(self));
    character.store(found.data(), found.size());
    return {};
}

// atandbytelength (position, area, length). The length becomes the number of bytes. The same.
Answer<void> atAndByteLength(Self self, Index position, Area area, Area length) {
    const auto found = characterOf(self, position);
    if (found.empty()) return pass(SITE("errorinbounds"));
    area.store(found.data(), found.size());
    length.put(static_cast<Count>(found.size()));
    return {};
}

// isat (character, position) -> flag.
bool isAt(Self self, Element character, Index position) {
    const auto found = characterOf(self, position);
    return !found.empty() && found == characterAt(character);
}

// atput (position, character). The other characters keep their widths. Outside the text ends in errorinbounds.
Answer<void> atPut(Self self, Index position, Element character) {
    const auto offset = offsetOf(self, position);
    if (offset == nowhere) return pass(SITE("errorinbounds"));
    const std::string put(characterAt(character));
    if (!spliceMixedText(self, offset, characterOf(self, position).size(), put)) return raise(Error::noStorage);
    rememberOffset(self, static_cast<std::size_t>(position), offset);
    return {};
}

// ---- Searching ----------------------------------------------------------------------------------------------------

// firstindexof, firstindexofidentity, lastindexof (character, from, to) -> position, 0 when it does not occur. A from
// position below 1 ends in errorinbounds.
Answer<Index> firstIndexOf(Self self, Element character, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    const auto last = std::min(to, sendSelf<Index>(SITE("size"), self));
    if (!nativePath(self.ref(), {"isat", "at"})) return searchForward(self, character, from, last);
    const auto start = offsetOf(self, from);
    if (start == nowhere) return 0;
    const auto text = self.text();
    const auto found = characters::find(text, characterAt(character), start);
    if (found == std::string_view::npos) return 0;
    const auto position = static_cast<std::size_t>(from) + characters::count(text.substr(start, found - start));
    if (position > static_cast<std::size_t>(std::max(last, 0))) return 0;
    rememberOffset(self, position, found);
    return static_cast<Index>(position);
}
Answer<Index> lastIndexOf(Self self, Element character, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    return searchBackward(self, character, from, std::min(to, sendSelf<Index>(SITE("size"), self)));
}

// includes (character) -> flag. indexof (character) -> position, 0 when it does not occur.
Index indexOf(Self self, Element character) {
    return sendSelf<Index>(SITE("firstindexof"), self, character, Index{1}, sendSelf<Index>(SITE("size"), self));
}
bool includes(Self self, Element character) { return indexOf(self, character) != 0; }

// indexofsubcollection (object, start) -> position, 0 when it does not occur. Another kind of object ends in
// compatibilityerror, a start below 1 in errorinbounds; an empty one raises 11.
Answer<Index> indexOfSubcollection(Self self, Ref wanted, Index start) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, wanted)) return pass(SITE("compatibilityerror"));
    if (send<Count>(SITE("size"), wanted) == 0) return raise(Error::emptySubcollection);
    if (start < 1) return pass(SITE("errorinbounds"));
    const Operand value(wanted);
    if (value.failure()) return value.failure();
    const auto from = offsetOf(self, start);
    if (from == nowhere || value.bytes().empty()) return 0;
    const auto text = self.text();
    const auto found = characters::find(text, value.bytes(), from);
    if (found == std::string_view::npos) return 0;
    return start + static_cast<Index>(characters::count(text.substr(from, found - from)));
}

// ---- Iteration ----------------------------------------------------------------------------------------------------

// select, reject (callback) -> text of the characters to which the block answers 1, or 0.
template <Flag wanted> Answer<Ref> chosen(Self self, Ref block) {
    std::string text;
    const auto count = sendSelf<Index>(SITE("size"), self);
    const auto walked = sequences::choose(self, count, block, wanted, null, [&](auto &element) {
        text.append(characterAt(element.element()));
        return true;
    });
    if (walked.failure) return walked.failure;
    return textOfClass(singleByteClass(), text);
}

// What a callback carries while it looks for a character.
struct Found {
    char character[characters::longest];
    Flag length; // 0: none yet
    Flag unused[5];
};
static_assert(sizeof(Found) == 8);

// detect (callback) -> the first character to which the block answers 1. Raises 12 when there is none.
Answer<void> detect(Self self, Returning character, Ref block) {
    const Temporary detector(perElement(self.ref(), "detectBM", block, Found{}));
    sendSelf(SITE("do"), self, detector.ref());
    const auto found = send<Found>(SITE("getparameter"), detector.ref(), Index{2});
    if (found.length == 0) return raise(Error::notFound).answering(widest(self));
    character.store(found.character, std::min<std::size_t>(found.length, characters::longest));
    return {};
}

// detectbm (callback, what was found, character).
void detectCharacter(Self self, Ref block, InOut<Found> found, Element character) {
    Found seen{};
    const auto bytes = characterAt(character);
    std::copy(bytes.begin(), bytes.end(), seen.character);
    seen.length = static_cast<Flag>(bytes.size());
    Block asked(block);
    if (!asked || !asked.invoke(character) || !asked.answered(1)) return;
    found.set(seen);
    sendSelf(SITE("quititeration"), self);
}

// ---- Comparing ----------------------------------------------------------------------------------------------------

// equal (object) -> flag. The same bytes but for spaces at the end.
Answer<bool> equal(Self self, Ref other) {
    if (!other) return false;
    return texts::compareWith(self, other, [](int order) { return order == 0; });
}

// A value given with its length in characters. Bare bytes are compared with bare bytes: one character each.
std::string_view givenTo(const Self &self, Index length, Bytes value) {
    const auto count = self.ref().isStatic() ? 1 : static_cast<std::size_t>(std::max(length, 0));
    return {value.address, characters::lengthOf(value.address, count)};
}

// equalbylengthvalue, lessthanbylengthvalue, greaterthanbylengthvalue (length, value) -> flag.
bool equalByLengthValue(Self self, Index length, Bytes value) {
    return equalPadded(self.text(), givenTo(self, length, value));
}
bool lessThanByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(self.text(), givenTo(self, length, value)) < 0;
}
bool greaterThanByLengthValue(Self self, Index length, Bytes value) {
    return comparePadded(self.text(), givenTo(self, length, value)) > 0;
}

// hash () -> count. Spaces of both widths at the end do not matter.
Count hash(Self self) { return characters::hash(self.text()); }

// ---- Reading and writing --------------------------------------------------------------------------------------------

// setvalue (value). As many characters as there are.
Answer<void> setValue(Self self, Bytes value) {
    const std::size_t count = self->characterLength;
    if (!setMixedText(self, {value.address, characters::lengthOf(value.address, count)}, count))
        return raise(Error::noStorage);
    return {};
}

// movevalue (object). Cut or filled up with spaces to as many characters as there are.
Answer<void> moveValue(Self self, Ref other) {
    const Operand value(other);
    if (value.failure()) return value.failure();
    const std::size_t count = self->characterLength;
    const auto bytes = value.bytes();
    if (!setMixedText(self, bytes.substr(0, characters::lengthOf(bytes, count)), count) ||
        !stretchMixedText(self, count))
        return raise(Error::noStorage);
    return {};
}

// From a 0-based position on, filled up with spaces to the size; so is what is left of characters cut in half.
void fill(Returning value, std::string_view text, std::size_t from, std::size_t size) {
    if (!value) return;
    std::memset(value.address, ' ', size);
    if (from >= text.size()) return;
    auto *area = reinterpret_cast<char *>(value.address);
    const auto taken = std::min(size, text.size() - from);
    std::memcpy(area, text.data() + from, taken);
    if (taken != 0 && !characters::isBoundary(text, from)) area[0] = ' ';
    if (from + taken < text.size() && !characters::isBoundary(text, from + taken)) area[taken - 1] = ' ';
}

// getvaluewithsize (size) -> as many bytes. getvaluewithsizeatposition (position, size) -> as many from that byte on.
// Filled up with spaces; a position outside the text answers spaces and ends in errorinbounds.
void getValueWithSize(Self self, Returning value, Index size) {
    if (size > 0) fill(value, self.text(), 0, static_cast<std::size_t>(size));
}
Answer<void> getValueWithSizeAtPosition(Self self, Returning value, Index position, Index size) {
    if (size <= 0) return {};
    const auto width = static_cast<std::size_t>(size);
    const auto text = self.text();
    const auto isInside = position >= 1 && static_cast<std::size_t>(position) <= text.size() + 1;
    fill(value, text, isInside ? static_cast<std::size_t>(position) - 1 : text.size(), width);
    if (!isInside) return pass(SITE("errorinbounds")).answering(width);
    return {};
}

// ---- Other texts made of it -----------------------------------------------------------------------------------------

// concat (object), concatz (value) -> text. Another kind of object ends in compatibilityerror.
Answer<Ref> concat(Self self, Ref other) {
    if (!sendSelf<bool>(SITE("iscompatible"), self, other)) return pass(SITE("compatibilityerror"));
    const Operand value(other);
    if (value.failure()) return value.failure();
    const auto size = self.text().size();
    NewText joined(singleByteClass(), size + value.bytes().size());
    return joined.append(self.text()).append(value.bytes()).finish();
}
Ref concatZ(Self self, Bytes value) {
    const Temporary added(send<Ref>(SITE("withvalue"), singleByteClass(), value));
    return sendSelf<Ref>(SITE("concat"), self, added.ref());
}

// trimblanks () -> text, without spaces of either width around.
Answer<Ref> trimBlanks(Self self) {
    return textOfClass(singleByteClass(), characters::withoutSpacesAround(self.text()));
}

// aslowercase, asuppercase () -> text. Letters of one byte only.
Answer<Ref> asLowerCase(Self self) {
    const auto text = self.text();
    return NewText(singleByteClass(), text.size()).append(text).convert(characters::toLower).finish();
}
Answer<Ref> asUpperCase(Self self) {
    const auto text = self.text();
    return NewText(singleByteClass(), text.size()).append(text).convert(characters::toUpper).finish();
}

// asseparatelines () -> ordered collection of texts. asarrayofsubstrings () -> array of texts.
Answer<Ref> asSeparateLines(Self self) { return texts::linesOf(self, singleByteClass(), characters::nextLine); }
Answer<Ref> asArrayOfSubstrings(Self self) { return texts::wordsOf(self, singleByteClass(), characters::nextWord); }

// aspicx () -> item of `cobolpicx`. As many bytes as there are characters; what is left of one cut in half becomes a
// space.
Answer<Ref> asPicX(Self self) {
    const std::size_t count = sendSelf<Count>(SITE("size"), self);
    const auto text = self.text();
    if (count > static_cast<std::size_t>(longestItem)) return raise(Error::tooLong);
    WorkArea cut(count);
    if (!cut) return raise(Error::noWorkArea);
    std::memset(cut.bytes(), ' ', count);
    characters::copyCut(reinterpret_cast<char *>(cut.bytes()), count, text);
    return picXOfBytes({reinterpret_cast<const char *>(cut.bytes()), count});
}

// ---- Other collections of its characters ----------------------------------------------------------------------------

// asbag, asvalueset, asorderedcollection, asidentityset, assortedcollection, asdefaultsortedcollection () ->
// collection.
Ref withAllOf(Ref classObject, const Self &self) { return send<Ref>(SITE("withall"), classObject, self.ref()); }
Ref asBag(Self self) { return withAllOf(CLASS("bag"), self); }
Ref asValueSet(Self self) { return withAllOf(CLASS("valueset"), self); }
Ref asOrderedCollection(Self self) { return withAllOf(CLASS("ordrdcll"), self); }
Ref asIdentitySet(Self self) { return withAllOf(CLASS("iset"), self); }
Ref asSortedCollection(Self self) { return withAllOf(CLASS("srtdclln"), self); }

// assortedcollectionwithsort (sort target, method name) -> sorted collection.
Ref asSortedCollectionWithSort(Self self, Ref target, Name method) {
    return send<Ref>(SITE("withallandsortmethod"), CLASS("srtdclln"), self.ref(), target, method);
}

constexpr std::array methods{
    onClass<newInstance>("new"),
    onClass<withLength>("withlength"),
    onClass<ofValues>("ofvalues"),
    onClass<withLengthValue>("withlengthvalue"),
    onClass<withByteLengthValue>("withbytelengthvalue"),
    onClass<fromBuffer>("frombuffer"),
    onClass<withValue>("withvalue"),
    onClass<withSpaceTerminator>("withspaceterminator"),
    onClass<withSpaceOrNullTerminator>("withspaceornullterminator"),
    onClass<withAll>("withall"),
    onClass<ofReferences>("ofreferences"),
    onClass<charLengthInBytes>("charlengthinbytes"),
    onClass<isMixed>("isdbcsstringbytelengthvalue"),
    onClass<isMixed>("isdbcsstringlengthvalue"),
    onClass<stringLengthInChars>("stringlengthinchars"),
    onClass<stringLengthInBytes>("stringlengthinbytes"),
    onClass<getDoubleByteSpace>("getdbcsspace"),
    onClass<getSingleByteClass>("getsbcsclass"),
    onClass<getDoubleByteClass>("getdbcsclass"),
    instance<allocateElement>("allocateelement"),
    instance<allocateElements>("allocateelements"),
    instance<getAddress>("getaddress"),
    instance<yes>("isdbcscharacterarray"),
    instance<containsDoubleByte>("containsdbcscharacters"),
    instance<description>("description"),
    instance<yes>("issequenced"),
    instance<sequences::atAllPut<Self>>("atallput"),
    instance<sequences::first<Self>>("first"),
    instance<sequences::last<Self>>("last"),
    instance<firstIndexOf>("firstindexof"),
    instance<firstIndexOf>("firstindexofidentity"),
    instance<lastIndexOf>("lastindexof"),
    instance<sequences::replaceAll<Self>>("replaceall"),
    instance<sequences::replaceSubcollection<Self>>("replacesubcollection"),
    instance<sequences::occurrencesOf<Self>>("occurrencesof"),
    instance<remove>("remove"),
    instance<size>("capacity"),
    instance<grow>("grow"),
    instance<growTo>("growto"),
    instance<basicGrow>("basicgrow"),
    instance<becomeComponent>("becomecomponent"),
    instance<elementTemplate>("template"),
    instance<texts::isCompatible<Self>>("iscompatible"),
    instance<yes>("containscharacters"),
    instance<sequences::copyFromTo<Self>>("copyfromto"),
    instance<sequences::copyReplaceAll<Self>>("copyreplaceall"),
    instance<sequences::copyReplace<Self>>("copyreplace"),
    instance<sequences::copyWith<Self>>("copywith"),
    instance<sequences::copyWithout<Self>>("copywithout"),
    instance<indexOfSubcollection>("indexofsubcollection"),
    instance<sequences::collect<Self>>("collect"),
    instance<sequences::find<sequences::Direction::forwards, Self>>("findfirst"),
    instance<sequences::find<sequences::Direction::backwards, Self>>("findlast"),
    instance<sequences::keysAndDataDo<Self>>("keysanddatado"),
    instance<deepFinalize>("deepfinalize"),
    instance<copyEmptyWithSize>("copyemptywithsize"),
    instance<copyEmpty>("copyempty"),
    instance<isEmpty>("isempty"),
    instance<sequences::reverse<Self>>("reverse"),
    instance<sequences::doEach<Self>>("do"),
    instance<sequences::doWithoutCopy<Self>>("dowithoutcopy"),
    instance<chosen<1>>("select"),
    instance<chosen<0>>("reject"),
    instance<detect>("detect"),
    instance<detectCharacter>("detectbm"),
    instance<sequences::reverseDo<Self>>("reversedo"),
    instance<sequences::withDo<Self>>("withdo"),
    instance<sequences::insertAllAfter<Self>>("insertallafter"),
    instance<includes>("includes"),
    instance<initialize>("initialize"),
    instance<at>("at"),
    instance<atAndByteLength>("atandbytelength"),
    instance<isAt>("isat"),
    instance<atPut>("atput"),
    instance<copy>("asarray"),
    instance<asArrayOfSubstrings>("asarrayofsubstrings"),
    instance<add>("add"),
    instance<deepCopy>("deepcopy"),
    instance<sizeInBytes>("sizeinbytes"),
    instance<size>("size"),
    instance<equalByLengthValue>("equalbylengthvalue"),
    instance<texts::compareTo<Self>>("compareto"),
    instance<greaterThanByLengthValue>("greaterthanbylengthvalue"),
    instance<texts::lessThanOrEqual<Self>>("lessthanorequal"),
    instance<texts::greaterThanOrEqual<Self>>("greaterthanorequal"),
    instance<texts::equalsIgnoreCaseByLengthValue<Self>>("equalsignorecasebylengthvalue"),
    instance<lessThanByLengthValue>("lessthanbylengthvalue"),
    instance<setValue>("setvalue"),
    instance<concat>("concat"),
    instance<texts::getValue<Self>>("getvalue"),
    instance<getValueWithSize>("getvaluewithsize"),
    instance<getValueWithSizeAtPosition>("getvaluewithsizeatposition"),
    instance<texts::getValueZ<Self>>("getvaluez"),
    instance<texts::getValueZ<Self>>("asparameter"),
    instance<texts::display<Self>>("display"),
    instance<asLowerCase>("aslowercase"),
    instance<asSeparateLines>("asseparatelines"),
    instance<asUpperCase>("asuppercase"),
    instance<asPicX>("aspicx"),
    instance<trimBlanks>("trimblanks"),
    instance<texts::lessThan<Self>>("lessthan"),
    instance<texts::greaterThan<Self>>("greaterthan"),
    instance<yes>("isindexed"),
    instance<getStorageRequirements>("getstoragerequirements"),
    instance<copy>("copy"),
    instance<equal>("equal"),
    instance<texts::equalsIgnoreCase<Self>>("equalsignorecase"),
    instance<moveValue>("movevalue"),
    instance<texts::resetValue<Self>>("resetvalue"),
    instance<hash>("hash"),
    instance<quitIteration>("quititeration"),
    instance<asBag>("asbag"),
    instance<asValueSet>("asvalueset"),
    instance<asOrderedCollection>("asorderedcollection"),
    instance<asIdentitySet>("asidentityset"),
    instance<asSortedCollectionWithSort>("assortedcollectionwithsort"),
    instance<asSortedCollection>("assortedcollection"),
    instance<asSortedCollection>("asdefaultsortedcollection"),
    instance<errorInBounds>("errorinbounds"),
    instance<concatZ>("concatz"),
    instance<texts::asComp5<Self>>("ascomp5"),
    instance<texts::asHex<Self>>("ashex"),
    instance<texts::asComp5Object<Self>>("ascomp5object"),
    instance<texts::asInternalFileName<Self>>("asinternalfilename"),
    instance<indexOf>("indexof"),
    instance<getSingleByteClass>("getsbcsclass"),
    instance<getDoubleByteClass>("getdbcsclass"),
};

constexpr ClassDef definition{.program = program,
                              .name = "dbcscharacterarray",
                              .super = "dependnt",
                              .instanceData = fields<MixedTextFields, mixedTextSize>(),
                              .indexed = {true, mixedTextSize},
                              .methods = methods};
const Registered registered(definition);

} // namespace
} // namespace oocobol
