// The extension of base that teaches every object to raise: called once, when base is initialised.
//
// The raising methods go to `exceptionmanager`, whose handler answers in the failing method's place. Here also:
// forwarding of what an object does not understand to its delegate, trace lines, and those methods of components that
// make and send signals (see components.h).
#include "classes/object/components.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "ebase";

using Self = Receiver;

// ---- Raising ----------------------------------------------------------------------------------------------------

// The object or, without one, the class tells the manager. A returning item that the caller left out is stood in for.
void raiseThrough(const Self &self, Returning answer, Count error, Ref inserts) {
    alignas(8) std::byte standIn[8] = {};
    if (!answer) answer.address = standIn;
    if (!CLASS("exptnmgr")) return; // no memory even to load it: there is nobody to tell
    if (self.isNull() || self.ref().isStatic())
        send(SITE("raisestatic"), CLASS("exptnmgr"), answer, self.classObject(), error, inserts);
    else
        send(SITE("raise"), CLASS("exptnmgr"), answer, self.ref(), error, inserts);
}

// raiseexception (number) -> the handler's answer.
void raiseException(Self self, Returning answer, Count error) { raiseThrough(self, answer, error, null); }

// raiseexceptionwithtextcollection (number, inserts) -> the handler's answer. The inserts stay the caller's.
void raiseWithTextCollection(Self self, Returning answer, Count error, Ref inserts) {
    raiseThrough(self, answer, error, inserts);
}

constexpr Count mostInserts = 6;

// A new collection of the objects up to the first one left out; null when there is none.
template <class... Given> Ref collectInserts(const Given &...given) {
    const Optional<Ref> inserts[] = {given...};
    if (!inserts[0]) return null;
    const auto collection = send<Ref>(SITE("ofreferences"), CLASS("ordrdcll"), Index{mostInserts});
    if (!collection) return null;
    for (const auto &insert : inserts) {
        if (!insert) break;
        send(SITE("add"), collection, *insert);
    }
    return collection;
}

// raiseexceptionwithtext (number, up to 6 objects) -> the handler's answer.
void raiseWithText(Self self, Returning answer, Count error, Optional<Ref> a, Optional<Ref> b, Optional<Ref> c,
                   Optional<Ref> d, Optional<Ref> e, Optional<Ref> f) {
    const auto inserts = collectInserts(a, b, c, d, e, f);
    raiseThrough(self, answer, error, inserts);
    finalizeLive(inserts); // the handler may have done so
}

Optional<Ref> asText(Optional<Bytes> text) {
    if (!text) return {};
    return {send<Ref>(SITE("withvalue"), CLASS("chararry"), *text), true};
}

// raiseexceptionwithtextz (number, up to 6 null-terminated texts) -> the handler's answer.
void raiseWithTextZ(Self self, Returning answer, Count error, Optional<Bytes> a, Optional<Bytes> b, Optional<Bytes> c,
                    Optional<Bytes> d, Optional<Bytes> e, Optional<Bytes> f) {
    const Optional<Bytes> texts[] = {a, b, c, d, e, f};
    Optional<Ref> objects[mostInserts];
    for (std::size_t i = 0; i < mostInserts && texts[i]; ++i) objects[i] = asText(texts[i]);
    const auto inserts = collectInserts(objects[0], objects[1], objects[2], objects[3], objects[4], objects[5]);
    raiseThrough(self, answer, error, inserts);
    for (const auto &object : objects) finalizeLive(*object);
    finalizeLive(inserts);
}

// ---- Messages not understood --------------------------------------------------------------------------------------

// A cycle of delegates would forward for ever. Each thread remembers who is passing on the message that nobody in the
// chain has understood so far; once somebody has, his method is free to send the same message again.
struct Forwarding {
    Ref object;
    const Forwarding *outer;
};
constinit thread_local const Forwarding *forwarding = nullptr;

bool isForwarding(Ref object) {
    for (const auto *at = forwarding; at != nullptr; at = at->outer) {
        if (at->object == object) return true;
    }
    return false;
}

bool understands(Ref object, std::string_view message) {
    const auto *behaviour = behaviourOfObject(object);
    const auto selector = findSelector(message);
    return behaviour != nullptr && selector != 0 && lookUp(*behaviour, selector) != nullptr;
}

// doesnotunderstand (up to 7 arguments) -> the delegate's answer. Without a delegate, or when the delegates lead back
// here, raises 24.
Answer<void> doesNotUnderstand(Self self, Returning answer, Area a, Area b, Area c, Area d, Area e, Area f, Area g) {
    const auto name = lastNotUnderstood(self.ref());
    char message[161] = {};
    std::memcpy(message, name.data(), name.size());
    const auto manager = isForwarding(self.ref()) ? null : CLASS("delegate");
    const auto delegate = manager ? send<Ref>(SITE("getdelegatefor"), manager, self.ref()) : null;
    if (!delegate) return raise(Error::notUnderstood).answering(sizeof(Ref));
    const auto *const outer = forwarding;
    const Forwarding frame{self.ref(), outer};
    forwarding = understands(delegate, message) ? nullptr : &frame;
    void *arguments[] = {answer.address, a.address, b.address, c.address, d.address, e.address, f.address, g.address};
    sendByName(delegate, message, nullptr, nullptr, arguments, std::size(arguments));
    forwarding = outer;
    return {};
}

// ---- Tracing ----------------------------------------------------------------------------------------------------

Ref traceText(Bytes text) { return send<Ref>(SITE("withspaceornullterminator"), CLASS("chararry"), text); }

// writetrace (up to 9 texts). Joined to one line; 256 bytes and more raise 101.
Answer<void> writeTrace(Self self, Bytes first, Optional<Bytes> b, Optional<Bytes> c, Optional<Bytes> d,
                        Optional<Bytes> e, Optional<Bytes> f, Optional<Bytes> g, Optional<Bytes> h, Optional<Bytes> i) {
    constexpr Count longestLine = 255;
    auto line = traceText(first);
    for (const auto &text : {b, c, d, e, f, g, h, i}) {
        if (text) line = sendSelf<Ref>(SITE("concattrace"), self, line, traceText(*text));
    }
    const Temporary owned(line);
    if (send<Count>(SITE("sizeinbytes"), line) > longestLine) return raise(Error::traceTooLong);
    char value[longestLine + 1] = {};
    send(SITE("getvaluez"), line, Returning{{reinterpret_cast<std::byte *>(value)}});
    sendSelf(SITE("trace"), self, Bytes{value});
    return {};
}

constexpr std::array methods{
    instance<raiseWithTextCollection>("raiseexceptionwithtextcollection"),
    instance<raiseWithText>("raiseexceptionwithtext"),
    instance<raiseWithTextZ>("raiseexceptionwithtextz"),
    instance<writeTrace>("writetrace"),
    instance<raiseException>("raiseexception"),
    instance<doesNotUnderstand>("doesnotunderstand"),
    instance<component::signal>("signal"),
    instance<component::signalString>("signalstring"),
    instance<component::defineInSignal>("defineinsignal"),
    instance<component::copyConnection>("copyconnection"),
    instance<component::defineOutSignal>("defineoutsignal"),
    instance<component::componentException>("componentexception"),
    instance<component::setEventTo>("seteventto"),
};

std::int64_t extendBase(void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *, void *,
                        void *, void *, void *) {
    extendClass("base", methods);
    return 0;
}
constexpr ProgramDef definition{program, extendBase};
const Registered registered(definition);

} // namespace
} // namespace oocobol
