// The protocol of sequences: what can be said by asking for the size and for one element after another.
//
// Everything here works through `at`, `atput` and `isat`, so that fixed-size and growing collections share it, and
// texts whose characters are not of one width. Loops run to the size read at their start, whatever the code that they
// call does to the receiver.
#pragma once

#include "classes/collections/collection.h"
#include "runtime/module.h"

namespace oocobol {

// Moves the elements of `replacesubcollection` at once when messages would do no more than that. False when they have
// to be sent. Each kind of sequence has one.
bool replaceNatively(const Instance<SequencedFields> &self, std::int64_t start, std::int64_t count, Ref source,
                     std::int64_t sourceStart);

namespace sequences {

template <class Self> Index sizeOf(const Self &self) { return sendSelf<Index>(SITE("size"), self); }
inline Index sizeOf(Ref collection) { return send<Index>(SITE("size"), collection); }

template <class Self> bool isCompatible(const Self &self, Ref other) {
    return sendSelf<bool>(SITE("iscompatible"), self, other);
}

// A new sequence of the receiver's species with so many places; null when it could not be made.
template <class Self> Ref copyEmptyWithSize(const Self &self, std::int64_t size) {
    return sendSelf<Ref>(SITE("copyemptywithsize"), self, asSize(size));
}

// Puts source elements from `sourceStart` on at `start` .. `stop` of a sequence.
inline void replace(Ref collection, std::int64_t start, std::int64_t stop, Ref source, std::int64_t sourceStart) {
    send(SITE("replacesubcollection"), collection, static_cast<Index>(start), static_cast<Index>(stop), source,
         static_cast<Index>(sourceStart));
}

// An empty copy of the receiver, of a size of its own if wanted, that is filled element by element. A kind of sequence
// that knows a shorter way has one of its own.
template <class Self> class Filling {
public:
    explicit Filling(const Self &self) : made(sendSelf<Ref>(SITE("copyempty"), self)) {}
    Filling(const Self &self, std::int64_t size) : made(copyEmptyWithSize(self, size)) {}
    explicit operator bool() const noexcept { return static_cast<bool>(made); }
    Ref ref() const noexcept { return made.ref(); }
    template <class Source> bool put(Index index, Source &source) { return putElement(made.ref(), index, source); }
    Answer<Ref> finish() { return made.giveAway(); }

private:
    Temporary made;
};

// ---- Elements ---------------------------------------------------------------------------------------------------

// first, last () -> element.
template <class Self> void first(const Self &self, Returning element) { sendSelf(SITE("at"), self, element, Index{1}); }
template <class Self> void last(const Self &self, Returning element) {
    sendSelf(SITE("at"), self, element, sizeOf(self));
}

// atallput (element).
template <class Self> void atAllPut(const Self &self, Element element) {
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && self.isAlive(); ++i) sendSelf(SITE("atput"), self, i, element);
}

// ---- Searching --------------------------------------------------------------------------------------------------

// occurrencesof (element) -> count.
template <class Self> Count occurrencesOf(const Self &self, Element element) {
    Count count = 0;
    std::int64_t start = 1;
    while (start <= INT32_MAX) {
        const auto from = static_cast<Index>(start);
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, element, from, sizeOf(self));
        if (found < start) break;
        ++count;
        start = std::int64_t{found} + 1;
    }
    return count;
}

// ---- Replacing --------------------------------------------------------------------------------------------------

// replaceall (old element, new element, from, to). A from index below 1 raises 3.
template <class Self>
Answer<void> replaceAll(const Self &self, Element old, Element replacement, Index from, Index to) {
    if (from < 1) return pass(SITE("errorinbounds"));
    std::int64_t start = from;
    while (start <= to && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("firstindexof"), self, old, static_cast<Index>(start), to);
        if (found < start) break;
        sendSelf(SITE("atput"), self, found, replacement);
        start = std::int64_t{found} + 1;
    }
    return {};
}

// replacesubcollection (start, stop, source, source start). Raises 4 when the source is too short, 3 for a source
// start below 1; an incompatible source ends in compatibilityerror (10). Overlapping moves within the receiver are
// right.
template <class Self>
Answer<void> replaceSubcollection(const Self &self, Index start, Index stop, Ref source, Index sourceStart) {
    if (!isCompatible(self, source)) return pass(SITE("compatibilityerror"));
    const auto beyond = std::int64_t{stop} - start;
    if (std::int64_t{sizeOf(source)} - sourceStart < beyond) return raise(Error::sourceTooShort);
    const auto count = beyond + 1;
    if (count <= 0) return {};
    if (sourceStart < 1) return pass(SITE("errorinbounds"));
    if (replaceNatively(self, start, count, source, sourceStart)) return {};
    ElementReader elements(source, self.ref());
    if (!elements) return raise(Error::noWorkArea);
    const auto backwards = sourceStart < start && source == self.ref();
    for (std::int64_t i = 0; i < count && self.isAlive(); ++i) {
        const auto offset = backwards ? count - 1 - i : i;
        if (!elements.read(static_cast<Index>(sourceStart + offset))) break;
        if (!putElement(self.ref(), static_cast<Index>(start + offset), elements)) break;
    }
    return {};
}

// ---- Changed copies ---------------------------------------------------------------------------------------------

// A new collection: the receiver's first `kept` elements, the inserted ones, and the receiver's from `resumed` on.
template <class Self> Ref spliced(const Self &self, std::int64_t kept, Ref inserted, std::int64_t resumed) {
    const std::int64_t own = sizeOf(self);
    const std::int64_t others = sizeOf(inserted);
    const auto total = kept + others + (own - resumed + 1);
    const auto made = copyEmptyWithSize(self, total);
    if (!made) return null;
    replace(made, 1, kept, self.ref(), 1);
    replace(made, kept + 1, kept + others, inserted, 1);
    replace(made, kept + others + 1, total, self.ref(), resumed);
    return made;
}

// insertallafter (index, other) -> collection. An index outside 0 .. size raises 3, an incompatible other ends in
// compatibilityerror (10).
template <class Self> Answer<Ref> insertAllAfter(const Self &self, Index index, Ref other) {
    if (!isCompatible(self, other)) return pass(SITE("compatibilityerror"));
    if (index < 0 || index > sizeOf(self)) return pass(SITE("errorinbounds"));
    return spliced(self, index, other, std::int64_t{index} + 1);
}

// copyfromto (from, to) -> collection.
template <class Self> Ref copyFromTo(const Self &self, Index from, Index to) {
    const auto count = std::int64_t{to} - from + 1;
    const auto made = copyEmptyWithSize(self, count);
    if (made) replace(made, 1, count, self.ref(), from);
    return made;
}

// copywith (element) -> collection with the element at the end.
template <class Self> Ref copyWith(const Self &self, Element element) {
    const std::int64_t count = sizeOf(self);
    const auto made = copyEmptyWithSize(self, count + 1);
    if (!made) return null;
    replace(made, 1, count, self.ref(), 1);
    send(SITE("atput"), made, static_cast<Index>(count + 1), element);
    return made;
}

// copyreplace (from, to, replacement) -> collection. Raises 3 unless 1 <= from <= to + 1 <= size + 1.
template <class Self> Answer<Ref> copyReplace(const Self &self, Index from, Index to, Ref replacement) {
    if (!isCompatible(self, replacement)) return pass(SITE("compatibilityerror"));
    if (from < 1 || to > sizeOf(self) || to < from - 1) return pass(SITE("errorinbounds"));
    return spliced(self, std::int64_t{from} - 1, replacement, std::int64_t{to} + 1);
}

// The positions of a subcollection in the receiver, none overlapping, in an ordered collection of numbers.
template <class Self> Ref positionsOf(const Self &self, Ref old, std::int64_t length) {
    const auto positions = send<Ref>(SITE("ofvalues"), CLASS("ordrdcll"), CLASS("comp5"), Index{4});
    std::int64_t start = 1;
    while (positions && start <= INT32_MAX && self.isAlive()) {
        const auto found = sendSelf<Index>(SITE("indexofsubcollection"), self, old, static_cast<Index>(start));
        if (found < start) break;
        send(SITE("add"), positions, found);
        start = found + std::max<std::int64_t>(length, 1);
    }
    return positions;
}

// copyreplaceall (old, new) -> collection with every occurrence of the old subcollection replaced.
template <class Self> Ref copyReplaceAll(const Self &self, Ref old, Ref replacement) {
    const std::int64_t oldSize = sizeOf(old);
    const std::int64_t newSize = sizeOf(replacement);
    const Temporary positions(positionsOf(self, old, oldSize));
    if (!positions) return null;
    const auto count = sizeOf(positions.ref());
    const std::int64_t own = sizeOf(self);
    const auto total = (newSize - oldSize) * count + own;
    const auto made = copyEmptyWithSize(self, total);
    if (!made) return null;
    std::int64_t source = 1, target = 1;
    const auto append = [&](Ref from, std::int64_t start, std::int64_t length) {
        replace(made, target, target + length - 1, from, start);
        target += length;
    };
    for (Index i = 1; i <= count; ++i) {
        const auto position = send<Index>(SITE("at"), positions.ref(), i);
        append(self.ref(), source, position - source);
        append(replacement, 1, newSize);
        source = position + oldSize;
    }
    replace(made, target, total, self.ref(), source);
    return made;
}

// copywithout (element) -> collection without its occurrences.
template <class Self> Answer<Ref> copyWithout(const Self &self, Element element) {
    const auto count = sizeOf(self);
    const auto occurrences = sendSelf<Count>(SITE("occurrencesof"), self, element);
    Filling<Self> made(self, std::int64_t{count} - occurrences);
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    ElementMatcher own(self.ref());
    Index next = 1;
    for (Index i = 1; i <= count && self.isAlive(); ++i) {
        if (own.matches(element, i)) continue;
        if (!elements.read(i) || !made.put(next++, elements)) break;
    }
    return made.finish();
}

// reverse () -> collection in the opposite order.
template <class Self> Answer<Ref> reverse(const Self &self) {
    Filling<Self> made(self);
    if (!made) return null;
    ElementReader elements(self.ref(), made.ref());
    if (!elements) return raise(Error::noWorkArea);
    Index next = 1;
    for (auto i = sizeOf(self); i >= 1; --i) {
        if (!elements.read(i) || !made.put(next++, elements)) break;
    }
    return made.finish();
}

// ---- Iteration --------------------------------------------------------------------------------------------------

// collect (callback) -> collection of what the block answers.
template <class Self> Answer<Ref> collect(const Self &self, Ref block) {
    Filling<Self> made(self);
    if (!made) return null;
    const Iteration iteration(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return made.finish();
    ElementReader elements(copied.ref());
    Block asked(block, std::max(areaWidth(copied.ref()), areaWidth(made.ref())));
    if (!elements || !asked) return raise(Error::noWorkArea);
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!elements.read(i) || !asked.invoke(elements.element())) break;
        if (!made.put(i, asked)) break;
    }
    return made.finish();
}

// Gives `take` the elements of a copy to which the block answers the flag, until it answers false. `target`: what takes
// them has room for its elements.
template <class Self, class Take>
Answer<void> choose(const Self &self, Index count, Ref block, Flag wanted, Ref target, Take take) {
    const Iteration iteration(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return {};
    ElementReader elements(copied.ref(), target);
    Block asked(block);
    if (!elements || !asked) return raise(Error::noWorkArea);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!elements.read(i) || !asked.invoke(elements.element())) break;
        if (asked.answered(wanted) && !take(elements)) break;
    }
    return {};
}

enum class Direction { forwards, backwards };

// Hands the elements of `walked` to the block, their indexes before them when asked for.
template <class Self>
Answer<void> walk(const Self &self, Ref walked, Index count, Ref block, Direction direction, bool withIndexes = false) {
    ElementReader elements(walked);
    Block asked(block, areaWidth(walked));
    if (!elements || !asked) return raise(Error::noWorkArea);
    const Iteration iteration(self);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        Index index = direction == Direction::forwards ? i : count - i + 1;
        if (!elements.read(index)) break;
        if (!(withIndexes ? asked.invoke(index, elements.element()) : asked.invoke(elements.element()))) break;
    }
    return {};
}

template <class Self>
Answer<void> walkCopy(const Self &self, Ref block, Direction direction, bool withIndexes = false) {
    const auto count = sizeOf(self);
    const Temporary copied(sendSelf<Ref>(SITE("copy"), self));
    if (!copied) return {};
    return walk(self, copied.ref(), count, block, direction, withIndexes);
}

// do (callback), reversedo (callback): over a copy. dowithoutcopy (callback): over the receiver itself.
template <class Self> Answer<void> doEach(const Self &self, Ref block) {
    return walkCopy(self, block, Direction::forwards);
}
template <class Self> Answer<void> doWithoutCopy(const Self &self, Ref block) {
    const auto count = sizeOf(self);
    return walk(self, self.ref(), count, block, Direction::forwards);
}
template <class Self> Answer<void> reverseDo(const Self &self, Ref block) {
    return walkCopy(self, block, Direction::backwards);
}

// keysanddatado (callback). The block gets index and element.
template <class Self> Answer<void> keysAndDataDo(const Self &self, Ref block) {
    return walkCopy(self, block, Direction::forwards, true);
}

// withdo (other, callback). The block gets an element of each. Raises 6 when the sizes differ.
template <class Self> Answer<void> withDo(const Self &self, Ref other, Ref block) {
    const auto count = sizeOf(self);
    if (sizeOf(other) != count) return raise(Error::sizesDiffer);
    const Iteration iteration(self);
    const Temporary own(sendSelf<Ref>(SITE("copy"), self));
    const Temporary others(send<Ref>(SITE("copy"), other));
    if (!own || !others) return {};
    ElementReader ownElements(own.ref()), otherElements(others.ref());
    Block asked(block, std::max(areaWidth(own.ref()), areaWidth(others.ref())));
    if (!ownElements || !otherElements || !asked) return raise(Error::noWorkArea);
    for (Index i = 1; i <= count && !iteration.isOver(); ++i) {
        if (!ownElements.read(i) || !otherElements.read(i)) break;
        if (!asked.invoke(ownElements.element(), otherElements.element())) break;
    }
    return {};
}

// findfirst, findlast (callback) -> the first (last) index to whose element the block answers 1, or 0.
template <Direction direction, class Self> Answer<Index> find(const Self &self, Ref block) {
    ElementReader elements(self.ref());
    Block asked(block);
    if (!elements || !asked) return raise(Error::noWorkArea);
    const auto count = sizeOf(self);
    for (Index i = 1; i <= count; ++i) {
        const auto index = direction == Direction::forwards ? i : count - i + 1;
        if (!elements.read(index) || !asked.invoke(elements.element())) break;
        if (asked.answered(1)) return index;
    }
    return 0;
}

} // namespace sequences
} // namespace oocobol
