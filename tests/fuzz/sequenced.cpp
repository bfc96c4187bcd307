#include "tests/fuzz/sequenced.h"

#include <algorithm>
#include <optional>

#include "classes/collections/collection.h"

#if OOCOBOL_CHECKED
#include <malloc.h>
#endif

namespace oocobol::fuzz {
namespace {

using Elements = std::vector<std::string>;

enum class Shape { array, list, sorted };
constexpr const char *programs[] = {"array", "ordrdcll", "srtdclln"};

// Element lengths around which code differs: the specialised ones, the limits of inline areas, wide ones.
constexpr Index widths[] = {1, 4, 8, 10, 36, 37, 300};
constexpr std::size_t references = std::size(widths); // one kind more

constexpr Index edges[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 538976287, 538976288, INT32_MAX - 1, INT32_MAX};

Ref templateOf(std::size_t kind) {
    static Ref made[std::size(widths)];
    if (kind == references) return null;
    if (widths[kind] == 4) return CLASS("comp5");
    if (!made[kind]) made[kind] = send<Ref>(SITE("newclass"), CLASS("picx"), widths[kind]);
    return made[kind];
}

struct Member {
    Ref ref;
    Shape shape;
    std::size_t kind;  // of its elements
    Elements elements; // what it must hold
};

class Program {
public:
    explicit Program(Decisions &source) : decisions(source), before(countInstances(null)) {
        allowNativePaths(!decisions.oneIn(3));
        for (const auto *value : {"one", "two", "two", "three"}) objects.push_back(newText(value));
        block = newBlock();
        for (int i = 0; i < 3; ++i) makeMember();
    }
    ~Program() {
        checkAll();
        note("ending");
        setBlock({});
        setComparison({});
        whenRaised({});
        for (const auto &member : members) end(member.ref);
        for (const auto object : objects) end(object);
        end(block);
        takeErrors();
        allowNativePaths(true);
        if (countInstances(null) != before) fail("objects have been left over");
    }

    void step() {
        if (members.empty() || (members.size() < 12 && decisions.oneIn(12))) return makeMember();
        const auto which = decisions.below(static_cast<std::uint32_t>(members.size()));
        if (decisions.oneIn(8))
            bePestered(which);
        else if (decisions.oneIn(6))
            beSentAnything(which);
        else
            beUsed(which);
        // What the operation was not about can only have changed by a fault: now and then is often enough.
        if (which < members.size()) check(members[which]);
        if (decisions.oneIn(16)) checkAll();
    }

private:
    // ---- What there is ------------------------------------------------------------------------------------------

    static Ref newText(const char *value) {
        return send<Ref>(SITE("withlengthvalue"), CLASS("chararry"), static_cast<Index>(std::strlen(value)),
                         Bytes{value});
    }
    void end(Ref object) {
        if (!isLive(object)) return;
        stale.push_back(object);
        send<Ref>(SITE("finalize"), object);
    }

    Ref anyReference() {
        switch (decisions.below(8)) {
        case 0:
            return null;
        case 1:
            return Ref{0x2020202020202020};
        // Reaches into the object table, but no live object has an even generation: those are not to be met by chance.
        case 2:
            return Ref{std::uint64_t{decisions.below(65536)} << 33 | decisions.below(4096)};
        case 3:
            return stale.empty() ? null : decisions.among(stale);
        case 4:
            return block;
        default:
            return decisions.among(objects);
        }
    }
    // A class, a collection, or anything.
    Ref anything() {
        if (decisions.oneIn(3) && !members.empty()) return decisions.among(members).ref;
        return decisions.oneIn(6) ? CLASS("ordrdcll") : anyReference();
    }
    Index number(std::size_t size) {
        if (decisions.oneIn(8)) return decisions.among(edges);
        return static_cast<Index>(decisions.below(static_cast<std::uint32_t>(size) + 3)) - 1;
    }

    static Index widthOf(std::size_t kind) { return kind == references ? 8 : widths[kind]; }
    std::string newElement(std::size_t kind) {
        std::string bytes(static_cast<std::size_t>(widthOf(kind)), 'm');
        if (kind == references) {
            const auto object = anyReference();
            std::memcpy(bytes.data(), &object, sizeof object);
            return bytes;
        }
        bytes.front() = static_cast<char>('a' + decisions.below(5));
        bytes.back() = static_cast<char>('a' + decisions.below(3));
        return bytes;
    }
    static bool isBefore(const std::string &one, const std::string &other) {
        if (one.size() != 4) return one < other;
        std::uint32_t first, second;
        std::memcpy(&first, one.data(), 4);
        std::memcpy(&second, other.data(), 4);
        return first < second;
    }

    void makeMember() {
        note("making");
        const auto kind = decisions.below(references + 1);
        const auto shape = static_cast<Shape>(decisions.below(kind == references ? 2 : 3));
        const auto size = static_cast<Index>(decisions.below(9));
        const auto classObject = classForProgram(programs[static_cast<std::size_t>(shape)]);
        const auto made = send<Ref>(SITE("ofvalues"), classObject, templateOf(kind), size);
        members.push_back({made, shape, kind, {}});
        if (shape == Shape::array)
            members.back().elements.assign(static_cast<std::size_t>(size),
                                           std::string(static_cast<std::size_t>(widthOf(kind)), '\0'));
    }

    // ---- What must hold -----------------------------------------------------------------------------------------

    static Elements elementsOf(Ref ref, Index width) {
        Elements found;
        const auto size = send<Index>(SITE("size"), ref);
        for (Index i = 1; i <= size; ++i) {
            ElementArea held;
            send(SITE("at"), ref, held.returning(), i);
            found.push_back(held.value(width));
        }
        return found;
    }

    static void checkStorage(Ref ref) {
        const auto *fields = fieldsOf<CollectionFields>(ref);
        if (fields == nullptr) return fail("a collection has become something else");
        if (std::uint64_t{fields->slotCount} * fields->elementSize != fields->storageLength)
            fail("slot count and storage length disagree");
        if (fields->storage == nullptr) fail("no storage");
#if OOCOBOL_CHECKED
        if (malloc_usable_size(fields->storage) < fields->storageLength) fail("the storage is too short");
#endif
        const auto *dynamic = fieldsOf<DynamicFields>(ref);
        if (dynamic == nullptr) return;
        if (dynamic->first < 1 || dynamic->first > dynamic->last + 1 || dynamic->last > dynamic->slotCount)
            fail("first and last slot disagree");
    }

    static std::string difference(const Member &member, const Elements &found) {
        const auto &wanted = member.elements;
        std::size_t at = 0;
        while (at < std::min(found.size(), wanted.size()) && found[at] == wanted[at]) ++at;
        std::string text = std::string(programs[static_cast<std::size_t>(member.shape)]) + " of width " +
                           std::to_string(widthOf(member.kind)) + " must hold " + std::to_string(wanted.size()) +
                           " elements and has " + std::to_string(found.size()) + "; element " + std::to_string(at + 1) +
                           " is";
        for (const auto *elements : {&found, &wanted}) {
            if (at < elements->size()) text += " '" + (*elements)[at] + "'";
            if (elements == &found) text += " instead of";
        }
        return text;
    }
    void check(Member &member) {
        if (!isLive(member.ref)) fail("a collection is gone");
        checkStorage(member.ref);
        const auto found = elementsOf(member.ref, widthOf(member.kind));
        if (found != member.elements) fail(difference(member, found));
    }

    void checkAll() {
        for (auto &member : members) check(member);
    }

    // Code with bad manners has run: what is there now is what must be there from now on.
    void lookAgain() {
        std::erase_if(members, [](const Member &member) { return !isLive(member.ref); });
        for (auto &member : members) {
            checkStorage(member.ref);
            const auto own = send<Ref>(SITE("template"), member.ref);
            for (std::size_t kind = 0; kind <= references; ++kind) {
                if (templateOf(kind) == own) member.kind = kind;
            }
            const auto classObject = send<Ref>(SITE("class"), member.ref);
            for (const auto shape : {Shape::array, Shape::list, Shape::sorted}) {
                if (classForProgram(programs[static_cast<std::size_t>(shape)]) == classObject) member.shape = shape;
            }
            member.elements = elementsOf(member.ref, widthOf(member.kind));
        }
        if (!isLive(block)) block = newBlock();
        for (auto &object : objects) {
            if (!isLive(object)) object = newText("new");
        }
        takeErrors();
    }

    void expectErrors(const std::vector<Count> &expected) {
        if (takeErrors() != expected) fail("other errors than it must raise");
    }
    void expect(bool holds, const char *what) {
        if (!holds) fail(what);
    }
    // The answer of a copying method, which is looked at and kept or ended.
    void keep(Ref made, Shape shape, std::size_t kind, Elements elements) {
        Member member{made, shape, kind, std::move(elements)};
        check(member);
        if (members.size() < 12)
            members.push_back(std::move(member));
        else
            end(made);
    }
    // The receiver, or another collection of its kind.
    Ref sourceFor(const Member &member) {
        for (int tries = 0; tries < 3; ++tries) {
            const auto &other = decisions.among(members);
            if (other.kind == member.kind && other.elements.size() + member.elements.size() < 80) return other.ref;
        }
        return member.ref;
    }
    const Elements &elementsIn(Ref ref) {
        return std::find_if(members.begin(), members.end(), [&](auto &member) { return member.ref == ref; })->elements;
    }

    // ---- Use ----------------------------------------------------------------------------------------------------

    void beUsed(std::uint32_t which) {
        auto &member = members[which];
        if (member.elements.size() > 90) return finish(which);
        switch (decisions.below(12)) {
        case 0:
            return member.shape == Shape::array ? putOne(member) : addOne(member);
        case 1:
            return putOne(member);
        case 2:
            return member.shape == Shape::list ? insertOne(member) : addOne(member);
        case 3:
            return member.shape == Shape::array ? readOne(member) : removeOne(member);
        case 4:
            return member.shape == Shape::array ? readOne(member) : removeSome(member);
        case 5:
            return readOne(member);
        case 6:
            return member.kind == references ? readOne(member) : search(member);
        case 7:
            return grow(member);
        case 8:
            return copyOne(member);
        case 9:
            return member.kind == references ? copyOne(member) : joinOther(member);
        case 10:
            return member.shape == Shape::list ? addOther(member) : walkQuietly(member);
        default:
            return decisions.oneIn(4) ? finish(which) : walkQuietly(member);
        }
    }

    void finish(std::uint32_t which) {
        note("finalize");
        end(members[which].ref);
        members.erase(members.begin() + which);
    }

    void addOne(Member &member) {
        note("add");
        const auto element = newElement(member.kind);
        const ElementArea area(element);
        auto &elements = member.elements;
        if (member.shape == Shape::array) {
            send(SITE("add"), member.ref, area.element());
            return expectErrors({1});
        }
        if (member.shape == Shape::sorted) {
            send(SITE("add"), member.ref, area.element());
            elements.insert(std::upper_bound(elements.begin(), elements.end(), element, isBefore), element);
        } else if (decisions.oneIn(2)) {
            send(SITE("add"), member.ref, area.element());
            elements.push_back(element);
        } else {
            send(SITE("addfirst"), member.ref, area.element());
            elements.insert(elements.begin(), element);
        }
        expectErrors({});
    }

    bool isIndex(const Member &member, Index index, std::size_t beyond = 0) {
        return index >= 1 && static_cast<std::size_t>(index) <= member.elements.size() + beyond;
    }

    void putOne(Member &member) {
        note("atput");
        const auto element = newElement(member.kind);
        const auto index = number(member.elements.size());
        send(SITE("atput"), member.ref, index, ElementArea(element).element());
        if (member.shape == Shape::sorted) return expectErrors({16});
        if (!isIndex(member, index)) return expectErrors({3});
        member.elements[static_cast<std::size_t>(index) - 1] = element;
        expectErrors({});
    }

    void insertOne(Member &member) {
        note("insertbeforeindex");
        const auto element = newElement(member.kind);
        const auto index = number(member.elements.size());
        send(SITE("insertbeforeindex"), member.ref, ElementArea(element).element(), index);
        if (!isIndex(member, index, 1)) return expectErrors({3});
        member.elements.insert(member.elements.begin() + index - 1, element);
        expectErrors({});
    }

    void readOne(Member &member) {
        note("at");
        const auto index = number(member.elements.size());
        ElementArea held;
        send(SITE("at"), member.ref, held.returning(), index);
        if (!isIndex(member, index)) return expectErrors({3});
        expect(held.value(widthOf(member.kind)) == member.elements[static_cast<std::size_t>(index) - 1],
               "another element");
        expectErrors({});
    }

    void removeOne(Member &member) {
        note("removeatindex");
        const auto index = number(member.elements.size());
        ElementArea held;
        send(SITE("removeatindex"), member.ref, held.returning(), index);
        if (!isIndex(member, index)) return expectErrors({3});
        expect(held.value(widthOf(member.kind)) == member.elements[static_cast<std::size_t>(index) - 1],
               "another element");
        member.elements.erase(member.elements.begin() + index - 1);
        expectErrors({});
    }

    void removeSome(Member &member) {
        note("removefirst, removelast");
        const auto count = number(member.elements.size());
        const auto atStart = decisions.oneIn(2);
        send(atStart ? SITE("removefirst") : SITE("removelast"), member.ref, count);
        if (count < 0 || static_cast<std::size_t>(count) > member.elements.size()) return expectErrors({33});
        const auto first = atStart ? member.elements.begin() : member.elements.end() - count;
        member.elements.erase(first, first + count);
        expectErrors({});
    }

    void search(Member &member) {
        note("searching");
        const auto element = newElement(member.kind);
        const ElementArea area(element);
        const auto &elements = member.elements;
        const auto found = std::find(elements.begin(), elements.end(), element);
        const auto index = found == elements.end() ? 0 : static_cast<Index>(found - elements.begin()) + 1;
        const auto count = static_cast<Count>(std::count(elements.begin(), elements.end(), element));
        expect(send<Index>(SITE("indexof"), member.ref, area.element()) == index, "indexof");
        expect(send<Count>(SITE("occurrencesof"), member.ref, area.element()) == count, "occurrencesof");
        expect(send<bool>(SITE("includes"), member.ref, area.element()) == (index != 0), "includes");
        const auto size = static_cast<Index>(elements.size());
        const auto last = std::find(elements.rbegin(), elements.rend(), element);
        const auto lastIndex = last == elements.rend() ? 0 : static_cast<Index>(elements.rend() - last);
        expect(send<Index>(SITE("lastindexof"), member.ref, area.element(), Index{1}, size) == lastIndex,
               "lastindexof");
        expectErrors({});
    }

    void grow(Member &member) {
        note("grow, growto");
        const auto capacity = send<Index>(SITE("capacity"), member.ref);
        if (capacity > 200 || decisions.oneIn(3)) {
            const auto wanted = number(member.elements.size());
            if (wanted > 1000) return;
            send<Ref>(SITE("growto"), member.ref, wanted);
            if (wanted < 0) return expectErrors({33, 32});
            const auto width = static_cast<std::size_t>(widthOf(member.kind));
            const auto size = static_cast<std::size_t>(wanted);
            if (member.shape == Shape::array)
                member.elements.resize(size, std::string(width, ' '));
            else
                member.elements = elementsOf(member.ref, widthOf(member.kind)); // what lies behind the cut is gone
            return expectErrors({});
        }
        send(SITE("grow"), member.ref);
        const auto slots = static_cast<std::size_t>(capacity + 10) * 2;
        if (member.shape == Shape::array)
            member.elements.resize(slots, std::string(static_cast<std::size_t>(widthOf(member.kind)), ' '));
        expectErrors({});
    }

    void copyOne(Member &member) {
        note("copying");
        const auto derived = member.shape == Shape::sorted ? Shape::list : member.shape;
        auto elements = member.elements;
        const auto kind = member.kind;
        const auto ref = member.ref;
        switch (decisions.below(4)) {
        case 0:
            keep(send<Ref>(SITE("copy"), ref), member.shape, kind, elements);
            break;
        case 1:
            std::reverse(elements.begin(), elements.end());
            keep(send<Ref>(SITE("reverse"), ref), derived, kind, elements);
            break;
        case 2:
            keep(send<Ref>(SITE("asarray"), ref), Shape::array, kind, elements);
            break;
        default: {
            const auto from = decisions.below(static_cast<std::uint32_t>(elements.size()) + 1);
            const auto count = decisions.below(static_cast<std::uint32_t>(elements.size()) - from + 1);
            const Elements part(elements.begin() + from, elements.begin() + from + count);
            const auto first = static_cast<Index>(from) + 1;
            keep(send<Ref>(SITE("copyfromto"), ref, first, first + static_cast<Index>(count) - 1), derived, kind, part);
        }
        }
        expectErrors({});
    }

    void joinOther(Member &member) {
        note("joining");
        const auto kind = member.kind;
        const auto source = sourceFor(member);
        auto elements = member.elements;
        const auto others = elementsIn(source);
        const auto derived = member.shape == Shape::sorted ? Shape::list : member.shape;
        if (elements.size() + others.size() > 100) return;
        switch (decisions.below(4)) {
        case 0: {
            if (member.shape == Shape::sorted) return;
            const auto index = decisions.below(static_cast<std::uint32_t>(elements.size()) + 1);
            elements.insert(elements.begin() + index, others.begin(), others.end());
            keep(send<Ref>(SITE("insertallafter"), member.ref, index, source), derived, kind, elements);
            break;
        }
        case 1: {
            std::sort(elements.begin(), elements.end(), isBefore);
            keep(send<Ref>(SITE("assortedcollection"), member.ref), Shape::sorted, kind, elements);
            break;
        }
        case 2: {
            const auto from = decisions.below(static_cast<std::uint32_t>(elements.size()) + 1);
            const auto count = decisions.below(static_cast<std::uint32_t>(elements.size()) - from + 1);
            elements.erase(elements.begin() + from, elements.begin() + from + count);
            elements.insert(elements.begin() + from, others.begin(), others.end());
            const auto first = static_cast<Index>(from) + 1;
            keep(send<Ref>(SITE("copyreplace"), member.ref, first, first + static_cast<Index>(count) - 1, source),
                 derived, kind, elements);
            break;
        }
        default: {
            const auto element = newElement(kind);
            std::erase(elements, element);
            keep(send<Ref>(SITE("copywithout"), member.ref, ElementArea(element).element()), derived, kind, elements);
        }
        }
        expectErrors({});
    }

    void addOther(Member &member) {
        note("adding a collection");
        const auto source = sourceFor(member);
        const auto others = elementsIn(source);
        auto &elements = member.elements;
        if (elements.size() + others.size() > 100) return;
        const auto size = static_cast<Index>(others.size());
        switch (decisions.below(3)) {
        case 0:
            send(SITE("addall"), member.ref, source);
            break;
        case 1:
            send(SITE("addsubcollectionlast"), member.ref, source, Index{1}, size);
            break;
        default:
            if (decisions.oneIn(2))
                send(SITE("addallfirst"), member.ref, source);
            else
                send(SITE("addsubcollectionfirst"), member.ref, source, Index{1}, size);
            elements.insert(elements.begin(), others.begin(), others.end());
            return expectErrors({});
        }
        elements.insert(elements.end(), others.begin(), others.end());
        expectErrors({});
    }

    void walkQuietly(Member &member) {
        note("walking");
        Elements seen;
        const auto width = widthOf(member.kind);
        setBlock([&](void **arguments) {
            seen.emplace_back(static_cast<const char *>(arguments[0]), static_cast<std::size_t>(width));
            return 0;
        });
        auto expected = member.elements;
        switch (decisions.below(3)) {
        case 0:
            send(SITE("do"), member.ref, block);
            break;
        case 1:
            send(SITE("dowithoutcopy"), member.ref, block);
            break;
        default:
            send(SITE("reversedo"), member.ref, block);
            std::reverse(expected.begin(), expected.end());
        }
        setBlock({});
        expect(seen == expected, "a walk that misses elements");
        expectErrors({});
    }

    // ---- Bad manners --------------------------------------------------------------------------------------------

    // What code from outside does to the collection that is at work.
    void misbehave(Ref receiver) {
        const ElementArea area(std::string(widestElement, 'h'));
        ElementArea held;
        switch (decisions.below(16)) {
        case 0:
            send(SITE("add"), receiver, area.element());
            break;
        case 1:
            send(SITE("removeatindex"), receiver, held.returning(), number(3));
            break;
        case 2:
            send(SITE("clear"), receiver);
            break;
        case 3:
            end(receiver);
            break;
        case 4:
            end(block);
            break;
        case 5:
            end(decisions.among(objects));
            break;
        case 6:
            send(SITE("raiseexception"), receiver, held.returning(), Count{10001});
            break;
        case 7:
            if (nesting < 2) send(SITE("do"), receiver, block);
            break;
        case 8:
            if (send<Count>(SITE("capacity"), receiver) < 500) send(SITE("grow"), receiver);
            break;
        case 9:
            end(send<Ref>(SITE("copy"), receiver));
            break;
        case 10:
            gainMethod();
            break;
        case 11:
            send(SITE("quititeration"), receiver);
            break;
        case 12:
            send<Ref>(SITE("growto"), receiver, number(4) & 63);
            break;
        case 13: {
            const auto other = decisions.among(members).ref;
            if (isLive(other) && isLive(receiver)) send(SITE("becomes"), receiver, other);
            break;
        }
        case 14:
            send(SITE("resort"), receiver);
            break;
        default:
            throw 1;
        }
    }

    Function pest(Ref receiver) {
        return [this, receiver](void **) -> std::int64_t {
            if (!decisions.oneIn(4)) return decisions.below(2);
            ++nesting;
            const struct Leave {
                int &level;
                ~Leave() { --level; }
            } leave{nesting};
            misbehave(receiver);
            return decisions.below(2);
        };
    }

    void bePestered(std::uint32_t which) {
        const auto ref = members[which].ref;
        const auto kind = members[which].kind;
        const auto other = sourceFor(members[which]);
        const auto isSorted = members[which].shape == Shape::sorted;
        setBlock(pest(ref));
        setComparison(pest(ref));
        if (decisions.oneIn(4))
            whenRaised([this, ref] {
                if (nesting++ < 2 && decisions.oneIn(4)) misbehaveQuietly(ref);
                --nesting;
            });
        ElementArea held(newElement(kind)), replacement(newElement(kind));
        const auto index = number(8);
        if (isSorted && decisions.oneIn(2)) {
            note("sorting with bad manners");
            send(SITE("setsortentry"), ref, Bytes{comparisonEntry});
        }
        note("being pestered");
        Ref made{};
        switch (decisions.below(16)) {
        case 0:
            send(SITE("do"), ref, block);
            break;
        case 1:
            send(SITE("dowithoutcopy"), ref, block);
            break;
        case 2:
            send(SITE("reversedo"), ref, block);
            break;
        case 3:
            send(SITE("keysanddatado"), ref, block);
            break;
        case 4:
            made = send<Ref>(SITE("collect"), ref, block);
            break;
        case 5:
            made = send<Ref>(SITE("select"), ref, block);
            break;
        case 6:
            made = send<Ref>(SITE("reject"), ref, block);
            break;
        case 7:
            send(SITE("detect"), ref, held.returning(), block);
            break;
        case 8:
            send(SITE("withdo"), ref, other, block);
            break;
        case 9:
            send<Index>(SITE("findlast"), ref, block);
            break;
        case 10:
            send(SITE("removeallsuchthat"), ref, block);
            break;
        case 11:
            send(SITE("resort"), ref);
            break;
        case 12:
            send(SITE("add"), ref, held.element());
            break;
        case 13:
            send(SITE("addall"), ref, other);
            break;
        case 14:
            send(SITE("replaceall"), ref, held.element(), replacement.element(), Index{1}, Index{50});
            break;
        default:
            made = send<Ref>(SITE("copyreplace"), ref, index, index, other);
        }
        setBlock({});
        whenRaised({});
        end(made);
        setComparison({});
        restoreOrder();
        lookAgain();
    }
    void misbehaveQuietly(Ref receiver) {
        try {
            misbehave(receiver);
        } catch (int) { // the handler is no place for it
        }
    }
    // Sorted collections sort by default again, whoever is one now.
    void restoreOrder() {
        for (const auto &member : members) {
            if (isLive(member.ref) && send<Ref>(SITE("class"), member.ref) == CLASS("srtdclln"))
                send(SITE("setsortmethod"), member.ref, member.ref, Bytes{"defaultSortMethod"});
        }
    }

    // ---- Anything -----------------------------------------------------------------------------------------------

    // Methods that take an address on trust, or whose answer is the caller's to release or shares what it points to.
    static bool isTrusting(std::string_view name) {
        constexpr std::string_view names[] = {
            "setcollptr",        "fillstringbm", "collectbm",    "detectbm",        "malloc",
            "dealloc",           "basiccopy",    "copycontents", "allocateelement", "allocateelements",
            "levelsofrecursion", "trace",        "writetrace",   "calculatesizebm", "becomes",
            "setdelegate",       "initialize",   "getaddress",   "basicgrow"};
        return std::find(std::begin(names), std::end(names), name) != std::end(names) || name.starts_with("fuzzmethod");
    }

    // A method of one of the sequenced classes, with arguments that are mostly of the wrong kind.
    void beSentAnything(std::uint32_t which) {
        constexpr const char *classes[] = {"collectn", "sequence", "array", "dynarray", "ordrdcll", "srtdclln"};
        const auto *family = familyOfClass(classForProgram(decisions.among(classes)));
        const auto all = family->methods(false).inOrder();
        const auto &method = all[decisions.below(static_cast<std::uint32_t>(all.size()))];
        const auto *name = selectorOf(method.selector).name;
        if (isTrusting(name)) return;
        if (send<Count>(SITE("capacity"), members[which].ref) > 500) return finish(which); // it would grow for ever
        note(name);
        // Each argument is as wide as the widest element: that much a method may always read and write.
        ElementArea areas[maximumArguments];
        void *arguments[maximumArguments] = {};
        if (!decisions.oneIn(6)) arguments[0] = areas[0].bytes;
        for (std::size_t i = 1; i < method.parameters; ++i) {
            if (decisions.oneIn(6)) continue; // left out
            const auto chosen = decisions.oneIn(3) ? static_cast<std::uint32_t>(number(8)) : anything().bits;
            // The size that is just not refused would ask for all the memory there is.
            const auto value = static_cast<std::uint32_t>(chosen) == 538976287 ? 0 : chosen;
            std::memcpy(areas[i].bytes, &value, sizeof value);
            arguments[i] = areas[i].bytes;
        }
        const auto ref = members[which].ref;
        const auto known = allObjects();
        oops_site site = OOPS_SITE(name);
        oopsresolvelist(ref.bits, &site, arguments, method.parameters);
        setBlock({});
        endOthers(known);
        restoreOrder();
        lookAgain();
    }

    using Objects = std::vector<Ref>;
    static Objects allObjects() {
        Objects found;
        forEachObject([&](Ref object, std::uint32_t, std::uint32_t marks) {
            if ((marks & (markLibrary | markClass)) == 0) found.push_back(object);
        });
        return found;
    }
    // Whatever a method has made and not given away belongs to nobody else.
    void endOthers(const Objects &known) {
        for (const auto object : allObjects()) {
            if (std::find(known.begin(), known.end(), object) == known.end()) end(object);
        }
    }

    Decisions &decisions;
    Count before;
    std::vector<Member> members;
    std::vector<Ref> objects;
    std::vector<Ref> stale;
    Ref block{};
    int nesting = 0;
};

} // namespace

std::uint32_t runSequencedProgram(Decisions &decisions, std::uint32_t operations) {
    Program program(decisions);
    std::uint32_t done = 0;
    while (done < operations && !decisions.areOver()) {
        program.step();
        ++done;
    }
    return done;
}

} // namespace oocobol::fuzz
