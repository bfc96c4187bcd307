// Sequenced collections against vectors.
#include <algorithm>
#include <tuple>

#include "classes/collections/collection.h"
#include "tests/fuzz/fuzz.h"
#include "tests/support/says.h"
#include "tests/support/support.h"

#if OOCOBOL_CHECKED
#include <malloc.h>
#endif

namespace oocobol::fuzz {
namespace {

using namespace test;
using Elements = std::vector<std::string>;

enum Shape : std::size_t { array, list, sorted };
constexpr const char *programs[] = {"array", "ordrdcll", "srtdclln"};

// Element lengths around which code differs: the specialised ones, the limits of inline areas, wide ones.
constexpr Index widths[] = {1, 4, 8, 10, 36, 37, 300};
constexpr std::size_t references = std::size(widths); // one kind more

constexpr Index edges[] = {INT32_MIN, INT32_MIN + 1, -1, 0, 538976287, 538976288, INT32_MAX - 1, INT32_MAX};

Ref templateOf(std::size_t kind) {
    if (kind == references) return null;
    return widths[kind] == 4 ? comp5() : picX(widths[kind]);
}

Elements joined(Elements one, const Elements &two, const Elements &three) {
    one.insert(one.end(), two.begin(), two.end());
    one.insert(one.end(), three.begin(), three.end());
    return one;
}
struct Member {
    Ref ref;
    Shape shape;
    std::size_t kind;  // of its elements
    Elements elements; // what it must hold

    std::size_t width() const { return kind == references ? 8 : static_cast<std::size_t>(widths[kind]); }
    std::string filled(char filler) const { return std::string(width(), filler); }
};

// What a collection is sent whose blocks have bad manners, and the arguments: b the block, o another collection, e an
// element of its kind, i an index, 1 and 5 the indexes 1 and 50. Behind ! it answers an object that it has made.
constexpr const char *pestered[] = {"do b",       "dowithoutcopy b",     "reversedo b",     "keysanddatado b",
                                    "collect b!", "select b!",           "reject b!",       "detect b",
                                    "withdo ob",  "findlast b",          "add e",           "addall o",
                                    "resort ",    "removeallsuchthat b", "replaceall ee15", "copyreplace iio!"};
// What code from outside does to the collection that is at work, beside what `misbehave` does itself: h an element as
// wide as any, s a small size, x an error.
constexpr const char *rude[] = {"add h",    "removeatindex i", "clear ",  "raiseexception x",
                                "growto s", "quititeration ",  "resort ", "copy !"};

constexpr std::size_t areaSize = 512; // wide enough for any collection's elements and answers
using Function = std::function<std::int64_t(void **arguments)>;

// Lets every class of a family that is sent to gain a method.
void gainMethod() {
    static int gained = 0;
    if (gained >= 32) return; // each makes the library look again at all it knows
    const auto name = "fuzzmethod" + std::to_string(gained++);
    OutsideClass(gained % 2 == 0 ? "dynarray" : "sequence", "", null)
        .method(name.c_str(), [](const oops_ref *, void *, void *) {})
        .extend();
}

class Program {
    RaisedErrors errors;
    static std::int64_t run(Function running, void **arguments) { return running ? running(arguments) : 0; }

public:
    explicit Program(Decisions &source) : decisions(source), before(countInstances(null)) {
        allowNativePaths(!decisions.oneIn(3));
        for (const auto *value : {"one", "two", "two", "three"}) objects.push_back(text(value));
        renewBlock();
        for (int i = 0; i < 3; ++i) makeMember();
    }
    ~Program() {
        checkAll();
        note("ending");
        beQuiet();
        for (const auto &member : members) end(member.ref);
        for (const auto object : objects) end(object);
        end(block);
        allowNativePaths(true);
        if (countInstances(null) != before) fail("objects have been left over");
    }

    void step() {
        if (members.empty() || (members.size() < 12 && decisions.oneIn(12))) return makeMember();
        const auto which = below(members.size());
        if (decisions.oneIn(8))
            bePestered(members[which]);
        else
            beUsed(which);
        // What the operation was not about can only have changed by a fault: now and then is often enough.
        if (which < members.size()) check(members[which]);
        if (decisions.oneIn(16)) checkAll();
    }

private:
    // ---- What there is ------------------------------------------------------------------------------------------

    std::size_t below(std::size_t limit) { return decisions.below(static_cast<std::uint32_t>(limit)); }
    using Arguments = std::vector<std::string>;
    // Sends a message with areas that begin with these bytes as its arguments; answers what it answers. Each area is as
    // wide as the widest element: that much a method may always read and write.
    static std::string tell(Ref receiver, const std::string &message, Arguments areas = {}) {
        note(message);
        areas.insert(areas.begin(), std::string());
        for (auto &area : areas) area.resize(areaSize);
        sendAreas(receiver, message, areas);
        return areas[0];
    }
    void end(Ref object) {
        if (!isLive(object)) return;
        stale.push_back(object);
        send<Ref>(SITE("finalize"), object);
    }

    Ref anyReference() {
        const auto choice = below(8);
        if (choice == 0) return null;
        if (choice == 1) return Ref{0x2020202020202020};
        // Reaches into the object table, but no live object has an even generation: those are not to be met by chance.
        if (choice == 2) return Ref{std::uint64_t{decisions.below(65536)} << 33 | decisions.below(4096)};
        if (choice == 3) return stale.empty() ? null : decisions.among(stale);
        return choice == 4 ? block : decisions.among(objects);
    }
    Index number(std::size_t size) {
        return decisions.oneIn(8) ? decisions.among(edges) : static_cast<Index>(below(size + 3)) - 1;
    }
    std::string newElement(const Member &member) {
        if (member.kind == references) return bytesOf(anyReference());
        auto bytes = member.filled('m');
        bytes.front() = static_cast<char>('a' + decisions.below(5));
        bytes.back() = static_cast<char>('a' + decisions.below(3));
        return bytes;
    }
    // As elements are sorted by default: numbers by what they are.
    static bool isBefore(const std::string &one, const std::string &other) {
        if (one.size() != 4) return one < other;
        return valueIn<std::uint32_t>(one.data()) < valueIn<std::uint32_t>(other.data());
    }
    void makeMember() {
        note("making");
        const auto kind = below(references + 1);
        const auto shape = static_cast<Shape>(below(kind == references ? 2 : 3));
        const auto size = below(9);
        Member made{send<Ref>(SITE("ofvalues"), classForProgram(programs[shape]), templateOf(kind), Index(size)),
                    shape,
                    kind,
                    {}};
        if (shape == array) made.elements.assign(size, made.filled('\0'));
        members.push_back(std::move(made));
    }

    // ---- What must hold -----------------------------------------------------------------------------------------

    static Elements elementsOf(const Member &member) {
        Elements found;
        const auto size = send<Index>(SITE("size"), member.ref);
        for (Index i = 1; i <= size; ++i) found.push_back(answered(SITE("at"), member.ref, member.width(), i));
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
    static void check(const Member &member) {
        if (!isLive(member.ref)) fail("a collection is gone");
        checkStorage(member.ref);
        const auto found = elementsOf(member);
        const auto &wanted = member.elements;
        if (found == wanted) return;
        const auto shown = [](const Elements &elements) {
            std::string all = std::to_string(elements.size());
            for (const auto &element : elements) all += " '" + element + "'";
            return all;
        };
        fail(std::string(programs[member.shape]) + " must hold " + shown(wanted) + " and has " + shown(found));
    }
    void checkAll() {
        for (const auto &member : members) check(member);
    }

    // Code with bad manners has run: what is there now is what must be there from now on.
    void lookAgain() {
        std::erase_if(members, [](const Member &member) { return !isLive(member.ref); });
        for (auto &member : members) {
            checkStorage(member.ref);
            const auto own = send<Ref>(SITE("template"), member.ref);
            const auto classObject = send<Ref>(SITE("class"), member.ref);
            for (std::size_t kind = 0; kind <= references; ++kind) {
                if (templateOf(kind) == own) member.kind = kind;
            }
            for (const auto shape : {array, list, sorted}) {
                if (classForProgram(programs[shape]) == classObject) member.shape = shape;
            }
            member.elements = elementsOf(member);
        }
        if (!isLive(block)) renewBlock();
        for (auto &object : objects) {
            if (!isLive(object)) object = text("new");
        }
        errors.all.clear();
    }
    void renewBlock() { block = send<Ref>(SITE("new"), CLASS("entrycll"), Bytes{blockEntry.c_str()}); }
    // Code from outside does nothing from now on.
    void beQuiet() {
        onBlock = onComparison = {};
        errors.action = {};
    }

    // ---- Use ----------------------------------------------------------------------------------------------------

    // A message and the errors that it must raise; if none, what it does and the bytes that its answer begins with.
    struct Use {
        const char *message;
        Arguments arguments;
        std::vector<Count> errors;
        std::string answer;
        std::function<void()> model;
    };
    void beUsed(std::size_t which) {
        auto &member = members[which];
        auto &all = member.elements;
        const auto size = static_cast<Index>(all.size());
        if (size > 90 || decisions.oneIn(48)) return finish(which);
        if (decisions.oneIn(12)) return walk(member);
        if (decisions.oneIn(6)) return derive(member);
        const auto element = newElement(member), spaces = member.filled(' ');
        const auto index = number(all.size());
        const auto isInside = index >= 1 && index <= size, isCount = index >= 0 && index <= size;
        const auto place = all.begin() + (isInside ? index - 1 : 0);
        const auto held = isInside ? *place : std::string(), at = bytesOf(index);
        const auto first = std::find(all.begin(), all.end(), element);
        const auto capacity = send<Count>(SITE("capacity"), member.ref);
        const auto source = sourceFor(member);
        const auto other = bytesOf(source.ref), from = bytesOf(Index{1}), to = bytesOf(source.elements.size());
        const auto errorUnless = [](bool holds, const std::vector<Count> &raised) {
            return holds ? std::vector<Count>() : raised;
        };
        const auto outside = errorUnless(isInside, {3}), noCount = errorUnless(isCount, {33}),
                   noSize = errorUnless(index >= 0, {33, 32});
        const auto insertAt = [&](Elements::iterator where) { all.insert(where, element); };
        const auto append = [&] { all = joined(all, source.elements, {}); };
        const auto prepend = [&] { all = joined(source.elements, all, {}); };
        constexpr unsigned arrays = 1 << array, lists = 1 << list, sorteds = 1 << sorted, growing = lists | sorteds,
                           any = 7;
        const auto values = member.kind == references ? 0 : any, small = capacity <= 200 ? any : 0,
                   affordable = index <= 1000 ? any : 0;
        std::vector<Use> uses;
        const auto can = [&](unsigned shapes, const char *message, const Arguments &arguments,
                             const std::vector<Count> &raised, const std::string &answer,
                             const std::function<void()> &model = {}) {
            if ((shapes & 1U << member.shape) != 0) uses.push_back({message, arguments, raised, answer, model});
        };
        can(arrays, "add", {element}, {1}, {});
        can(lists, "add", {element}, {}, {}, [&] { insertAt(all.end()); });
        can(lists, "addfirst", {element}, {}, {}, [&] { insertAt(all.begin()); });
        can(sorteds, "add", {element}, {}, {},
            [&] { insertAt(std::upper_bound(all.begin(), all.end(), element, isBefore)); });
        can(arrays | lists, "atput", {at, element}, outside, {}, [&] { *place = element; });
        can(sorteds, "atput", {at, element}, {16}, {});
        can(lists, "insertbeforeindex", {element, at}, errorUnless(isInside || index == size + 1, {3}), {},
            [&] { insertAt(all.begin() + index - 1); });
        can(any, "at", {at}, outside, held);
        can(growing, "removeatindex", {at}, outside, held, [&] { all.erase(place); });
        can(growing, "removefirst", {at}, noCount, {}, [&] { all.erase(all.begin(), all.begin() + index); });
        can(growing, "removelast", {at}, noCount, {}, [&] { all.erase(all.end() - index, all.end()); });
        can(values, "indexof", {element}, {}, bytesOf(first == all.end() ? 0 : Index(first - all.begin()) + 1));
        can(values, "lastindexof", {element, from, bytesOf(size)}, {},
            bytesOf(Index(all.rend() - std::find(all.rbegin(), all.rend(), element))));
        can(values, "occurrencesof", {element}, {}, bytesOf(Index(std::count(first, all.end(), element))));
        can(values, "includes", {element}, {}, bytesOf(Index{first != all.end()}));
        can(small & arrays, "grow", {}, {}, {}, [&] { all.resize((capacity + 10) * 2, spaces); });
        can(small & growing, "grow", {}, {}, {});
        can(affordable & arrays, "growto", {at}, noSize, {}, [&] { all.resize(std::size_t(index), spaces); });
        can(affordable & growing, "growto", {at}, noSize, {}, [&] { all = elementsOf(member); }); // perhaps cut
        can(lists, "addall", {other}, {}, {}, append);
        can(lists, "addallfirst", {other}, {}, {}, prepend);
        can(lists, "addsubcollectionlast", {other, from, to}, {}, {}, append);
        can(lists, "addsubcollectionfirst", {other, from, to}, {}, {}, prepend);
        const auto &use = decisions.among(uses);
        const auto answer = tell(member.ref, use.message, use.arguments);
        if (errors.numbers() != use.errors) fail("other errors than it must raise");
        if (!use.errors.empty()) return;
        if (!answer.starts_with(use.answer)) fail("another answer");
        if (use.model) use.model();
    }
    void finish(std::size_t which) {
        note("finalize");
        end(members[which].ref);
        members.erase(members.begin() + static_cast<std::ptrdiff_t>(which));
    }

    // A collection of the same elements, perhaps itself.
    Member sourceFor(const Member &member) {
        for (int tries = 0; tries < 3; ++tries) {
            const auto &other = decisions.among(members);
            if (other.kind == member.kind && other.elements.size() + member.elements.size() < 80) return other;
        }
        return member;
    }
    // A collection made of it, which is looked at and kept or ended.
    void derive(Member &member) {
        const auto &all = member.elements;
        const auto size = all.size(), from = below(size + 1), to = from + below(size - from + 1);
        const auto part = [&](std::size_t begin, std::size_t end_) {
            return Elements(all.data() + begin, all.data() + end_);
        };
        const auto source = sourceFor(member);
        const auto element = newElement(member), other = bytesOf(source.ref), first = bytesOf(from + 1),
                   last = bytesOf(to);
        Elements inOrder = all, without = all;
        std::sort(inOrder.begin(), inOrder.end(), isBefore);
        std::erase(without, element);
        const auto derived = member.shape == sorted ? list : member.shape;
        const auto replaced = joined(part(0, from), source.elements, part(to, size)),
                   inserted = joined(part(0, from), source.elements, part(from, size));
        const std::tuple<const char *, Arguments, Shape, Elements> ways[] = {
            {"copy", {}, member.shape, all},
            {"reverse", {}, derived, {all.rbegin(), all.rend()}},
            {"asarray", {}, array, all},
            {"copyfromto", {first, last}, derived, part(from, to)},
            {"assortedcollection", {}, sorted, inOrder},
            {"copywithout", {element}, derived, without},
            {"copyreplace", {first, last, other}, derived, replaced},
            {"insertallafter", {bytesOf(from), other}, derived, inserted}};
        const auto &[message, arguments, shape, elements] = ways[below(member.kind == references ? 4
                                                                       : member.shape == sorted  ? 7
                                                                                                 : 8)];
        const Member made{valueIn<Ref>(tell(member.ref, message, arguments).data()), shape, member.kind, elements};
        check(made);
        if (!errors.numbers().empty()) fail("errors while a collection is made");
        if (members.size() < 12 && elements.size() < 100)
            members.push_back(made);
        else
            end(made.ref);
    }
    void walk(Member &member) {
        Elements seen;
        onBlock = [&](void **arguments) {
            seen.emplace_back(static_cast<const char *>(arguments[0]), member.width());
            return 0;
        };
        constexpr const char *ways[] = {"do", "dowithoutcopy", "reversedo"};
        const auto way = below(3);
        tell(member.ref, ways[way], {bytesOf(block)});
        beQuiet();
        if (way == 2) std::reverse(seen.begin(), seen.end());
        if (seen != member.elements || !errors.numbers().empty()) fail("a walk that misses elements");
    }

    // ---- Bad manners --------------------------------------------------------------------------------------------

    std::string argumentFor(char form, const Member &member) {
        if (form == 'e') return newElement(member);
        if (form == 'h') return std::string(300, 'h');
        if (form == 'b') return bytesOf(block);
        if (form == 'o') return bytesOf(sourceFor(member).ref);
        if (form == 'i') return bytesOf(number(8));
        if (form == 's') return bytesOf(number(4) & 63);
        return bytesOf(form == 'x' ? Index{10001} : form == '5' ? 50 : 1);
    }
    // Sends what is written down above; answers the object that it has made.
    Ref tellAsWritten(const Member &member, std::string_view written) {
        const auto space = written.find(' ');
        Arguments arguments;
        for (const char form : written.substr(space + 1)) {
            if (form != '!') arguments.push_back(argumentFor(form, member));
        }
        const auto answer = tell(member.ref, std::string(written.substr(0, space)), arguments);
        return written.back() == '!' ? valueIn<Ref>(answer.data()) : null;
    }

    // What code from outside does to the collection that is at work.
    void misbehave(const Member &member) {
        const struct Nested {
            explicit Nested(int &deeper) : depth(++deeper) {}
            ~Nested() { --depth; }
            int &depth;
        } nested(nesting);
        const auto receiver = member.ref, other = decisions.among(members).ref;
        const auto choice = below(8 + std::size(rude));
        if (choice == 0) return end(receiver);
        if (choice == 1) return end(block);
        if (choice == 2) return end(decisions.among(objects));
        if (choice == 3) return gainMethod();
        if (choice == 4) throw 1;
        if (choice >= 8) return end(tellAsWritten(member, rude[choice - 8]));
        if (choice == 5 && nesting < 2) send(SITE("do"), receiver, block);
        if (choice == 6 && send<Count>(SITE("capacity"), receiver) < 500) send(SITE("grow"), receiver);
        if (choice == 7 && isLive(other) && isLive(receiver)) send(SITE("becomes"), receiver, other);
    }
    Function pest(const Member &member) {
        return [this, member](void **) -> std::int64_t {
            if (decisions.oneIn(4)) misbehave(member);
            return decisions.below(2);
        };
    }

    void bePestered(const Member member) {
        onBlock = onComparison = pest(member);
        if (decisions.oneIn(4))
            errors.action = [this, member](Ref, Count) {
                try {
                    if (nesting < 2 && decisions.oneIn(4)) misbehave(member);
                } catch (int) { // the handler is no place for it
                }
            };
        if (member.shape == sorted && decisions.oneIn(2))
            send(SITE("setsortentry"), member.ref, Bytes{comparisonEntry.c_str()});
        end(tellAsWritten(member, decisions.among(pestered)));
        beQuiet();
        restoreOrder();
        lookAgain();
    }
    // Sorted collections sort by default again, whoever is one now.
    void restoreOrder() {
        for (const auto &member : members) {
            if (isLive(member.ref) && send<Ref>(SITE("class"), member.ref) == CLASS("srtdclln"))
                send(SITE("setsortmethod"), member.ref, member.ref, Bytes{"defaultSortMethod"});
        }
    }

    Decisions &decisions;
    Count before;
    std::vector<Member> members;
    std::vector<Ref> objects;
    std::vector<Ref> stale;
    Ref block{};
    int nesting = 0;
    // What the block does, and what a comparison does; they may be exchanged while they run.
    Function onBlock, onComparison;
    const std::string blockEntry = entryNamed([this](void **arguments) { return run(onBlock, arguments); }),
                      comparisonEntry = entryNamed([this](void **arguments) { return run(onComparison, arguments); });
};

} // namespace

void runSequencedProgram(Decisions decisions, std::uint32_t operations) {
    Program program(decisions);
    for (std::uint32_t i = 0; i < operations; ++i) program.step();
}

} // namespace oocobol::fuzz
