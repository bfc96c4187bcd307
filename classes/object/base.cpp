// Base: the root of the class tree. What every object answers when its own class does not, and every class object.
//
// It has no data of its own. A message through the null reference that finds a method here runs it with a null self:
// the methods that cannot work without an object say so. Raising itself is the extension's (ebase.cpp); signals,
// sockets, spies and events are those of components.h.
#include "classes/exceptions/message_text.h"
#include "classes/object/components.h"
#include "classes/object/ending.h"
#include "classes/text/text_algorithms.h"
#include "host/host.h"
#include "runtime/module.h"

namespace oocobol {
namespace {

constexpr char program[] = "base";

using Self = Receiver;

// ---- Copying and ending -----------------------------------------------------------------------------------------

// basiccopy, copy () -> object. A byte copy; null when memory is short. A null receiver raises 27.
Answer<Ref> basicCopy(Self self) {
    if (self.isNull()) return raise(Error::nullReceiver);
    const auto copy = sharingCopy(self.ref());
    if (copy) sendSelf(SITE("resetcache"), self);
    return copy;
}

// copycontents (object) -> flag. Whether the contents were copied: both live, of one class and size.
bool copyContentsFrom(Self self, Ref other) { return copyContents(self.ref(), other); }

// deepcopy () -> object. Collections go deeper.
Ref deepCopy(Self self) { return sendSelf<Ref>(SITE("copy"), self); }

// Lets everybody go who knows of the object: other components, and registries that have an entry for it.
void leave(const Self &self) {
    component::end(self);
    if (!isWatched(self.ref())) return;
    component::forgetEvents(self.ref());
    send(SITE("remove"), CLASS("delegate"), self.ref());
    send<bool>(SITE("cancel"), CLASS("exptnmgr"), self.ref());
}

inline Ref end(const Self &self) {
    if (isKnownToOthers(self.ref())) leave(self);
    cancelObject(self.ref());
    return null;
}

// finalize () -> null. A null receiver raises 27; a reference that is no longer live never gets here.
Answer<Ref> finalize(Self self) {
    if (self.isNull()) return raise(Error::nullReceiver);
    return end(self);
}

// deepfinalizewithdepth (depth) -> object. Collections use the depth.
Ref deepFinalizeWithDepth(Self self, Index) { return sendSelf<Ref>(SITE("finalize"), self); }

// deepfinalize, reallydeepfinalize () -> object. One level; no limit.
Ref deepFinalize(Self self) { return sendSelf<Ref>(SITE("deepfinalizewithdepth"), self, Index{1}); }
Ref reallyDeepFinalize(Self self) { return sendSelf<Ref>(SITE("deepfinalizewithdepth"), self, Index{-1}); }

// ---- Identity ---------------------------------------------------------------------------------------------------

// equal (object) -> flag. The very same object. A null receiver ends in implementedbysubclass (7).
Answer<bool> equal(Self self, Ref other) {
    if (self.isNull()) return pass(SITE("implementedbysubclass"));
    return self.ref() == other;
}

// hash () -> count. The low half of the reference, as a number that is never negative but for 0x80000000.
Answer<Count> hash(Self self) {
    if (self.isNull()) return pass(SITE("implementedbysubclass"));
    const auto low = self.ref().index();
    return static_cast<Index>(low) < 0 ? 0 - low : low;
}

// becomes (object). The two exchange identities; a class object cannot (88), nor what is not live (106).
Answer<void> becomes(Self self, Ref other) {
    if (exchangeIdentities(self.ref(), other)) return {};
    const auto isClass = familyOfClass(self.ref()) != nullptr || familyOfClass(other) != nullptr;
    return raise(isClass ? Error::classCannotBecome : Error::staleReference);
}
Answer<void> classBecomes(Self, Ref) { return raise(Error::classCannotBecome); }

// ---- The class --------------------------------------------------------------------------------------------------

// class, species, factoryobject () -> class.
Ref ownClass(Self self) { return self.classObject(); }

// The class, for a message that as a rule stays within the library: there, a class that was made for one item does not
// count as handed out.
Ref classToAsk(const Self &self, std::string_view message) {
    const auto own = peekClass(self.ref());
    const auto *method = methodFor(own, message);
    return method != nullptr && method->library ? own : self.classObject();
}

// classname () -> character array.
Ref className(Self self) { return send<Ref>(SITE("name"), classToAsk(self, "name")); }

// istypeof (class) -> flag. Whether the class, or one above it up to base, is this one.
bool isTypeOf(Self self, Ref wanted) {
    const auto root = CLASS("base");
    auto current = classToAsk(self, "superclass");
    while (current && current != wanted && current != root) current = send<Ref>(SITE("superclass"), current);
    return current == wanted;
}

// ---- Describing -------------------------------------------------------------------------------------------------

// description () -> character array. "an object of CLASS", by message 2 of set 2; message 1 for null.
Ref description(Self self) {
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    const Temporary ofClass(send<Ref>(SITE("description"), self.classObject()));
    return baseMessage(messages.ref(), self.isNull() ? 1 : 2, ofClass.ref());
}

// display (). The description; null without one shows nothing, or it would show null.
void display(Self self) {
    const Temporary text(sendSelf<Ref>(SITE("description"), self));
    if (text || !self.isNull()) send(SITE("display"), text.ref());
}

// displayrecursion (). What a collection that contains itself shows at the inner place.
void displayRecursion(Self self) {
    const Temporary messages(sendSelf<Ref>(SITE("registerbasemessagefile"), self));
    const Temporary own(sendSelf<Ref>(SITE("description"), self));
    const Temporary text(baseMessage(messages.ref(), 3, own.ref()));
    send(SITE("display"), text.ref());
}

// registerbasemessagefile () -> message file handler, the caller's to finalize.
Ref registerBaseMessageFile(Self) {
    constexpr std::uint8_t lowerCaseNames = 128;
    const char *file = host::systemInfo().type == lowerCaseNames ? "oocobol.lng" : "OOCOBOL.LNG";
    return send<Ref>(SITE("registermessagefilez"), CLASS("msgfh"), Bytes{""}, Bytes{file});
}

// ---- Sizes and memory -------------------------------------------------------------------------------------------

// size () -> count. That of a reference.
Count size(Self) { return sizeof(Ref); }
// sizeinbytes () -> count.
Count sizeInBytes(Self self) { return sendSelf<Count>(SITE("size"), self); }

// malloc (size) -> address. Zero-filled; null when it cannot be had. dealloc (address).
Address allocateMemory(Self, Count wanted) { return allocate(wanted); }
void deallocateMemory(Self, Address memory) { release(memory); }

// ---- Standard errors --------------------------------------------------------------------------------------------
// Each takes the failing method's returning item and hands it on, so that the handler's answer lands there. How wide
// the item is only the failing method knows: it passes a place that holds 8 bytes.

Failure answeringFully(Error error) { return raise(error).answering(sizeof(Ref)); }

// implementedbysubclass, compatibilityerror, shouldnotimplement, invalidparameter () -> passed on.
Answer<void> implementedBySubclass(Self, Returning) { return answeringFully(Error::implementedBySubclass); }
Answer<void> compatibilityError(Self, Returning) { return answeringFully(Error::incompatible); }
Answer<void> shouldNotImplement(Self, Returning) { return answeringFully(Error::shouldNotImplement); }
Answer<void> invalidParameter(Self, Returning) { return answeringFully(Error::invalidParameter); }

// whatdidntiunderstand () -> character array. The last message that this object did not understand.
Ref whatDidntIUnderstand(Self self) {
    const auto name = lastNotUnderstood(self.ref());
    char text[162] = {};
    std::memcpy(text, name.data(), name.size());
    text[name.size()] = ' ';
    return send<Ref>(SITE("withspaceterminator"), CLASS("chararry"), Bytes{text});
}

// levelsofrecursion (). Counts and shows its own depth until the stack limit ends it (108).
void levelsOfRecursion(Self self) {
    host::displayLine(decimalDigits(++thread.recursionLevels, 10).view());
    sendSelf(SITE("levelsofrecursion"), self);
    --thread.recursionLevels;
}

// ---- Tracing ----------------------------------------------------------------------------------------------------

// trace (text).
void trace(Self, Bytes text) { traceText({text.address, strnlen(text.address, longestName)}); }

// concattrace (text, text) -> text. Both are used up.
Ref concatTrace(Self, Ref first, Ref second) {
    const Temporary one(first), other(second == first ? null : second);
    return send<Ref>(SITE("concat"), first, second);
}

// gettracelevel () -> level. settracelevel (level). issignaltracing () -> flag.
Count getTraceLevel(Self) { return traceLevel(); }
void setLevel(Self, Count wanted) { setTraceLevel(wanted); }
bool isSignalTracing(Self) { return (traceLevel() & traceSignals) != 0; }

// ---- Queries that subclasses answer ------------------------------------------------------------------------------

bool no(Self) { return false; }
bool yes(Self) { return true; }
void nothing(Self) {}

// iscomponent () -> flag.
bool isComponent(Self self) { return component::isOne(self.ref()); }
// isdbcsenvironment () -> flag. Whether the host says that double-byte characters are in use.
bool isDbcsEnvironment(Self) { return host::systemInfo().doubleByte; }

// ---- Delegates --------------------------------------------------------------------------------------------------

// setdelegate (delegate). removedelegate ().
void setDelegate(Self self, Ref delegate) { send(SITE("adddelegatefor"), CLASS("delegate"), self.ref(), delegate); }
void removeDelegate(Self self) { send(SITE("remove"), CLASS("delegate"), self.ref()); }

// initializeclass (class), for base itself: draws in the extension that teaches every object to raise.
void initializeClass(Self self) {
    if (self.ref() == CLASS("base")) callProgram("ebase");
}

constexpr std::array methods{
    onClass<no>("ismetaclass"),
    onClass<initializeClass>("initializeclass"),
    onClass<classBecomes>("becomes"),
    instance<basicCopy>("copy"),
    instance<basicCopy>("basiccopy"),
    instance<copyContentsFrom>("copycontents"),
    instance<deepCopy>("deepcopy"),
    instance<finalize>("finalize"),
    instance<deepFinalizeWithDepth>("deepfinalizewithdepth"),
    instance<deepFinalize>("deepfinalize"),
    instance<reallyDeepFinalize>("reallydeepfinalize"),
    instance<equal>("equal"),
    instance<hash>("hash"),
    instance<ownClass>("class"),
    instance<ownClass>("species"),
    instance<ownClass>("factoryobject"),
    instance<className>("classname"),
    instance<description>("description"),
    instance<display>("display"),
    instance<displayRecursion>("displayrecursion"),
    instance<size>("size"),
    instance<sizeInBytes>("sizeinbytes"),
    instance<isTypeOf>("istypeof"),
    instance<allocateMemory>("malloc"),
    instance<deallocateMemory>("dealloc"),
    instance<becomes>("becomes"),
    instance<nothing>("resetcache"),
    instance<nothing>("preparetobesaved"),
    instance<nothing>("readyforapplicationstart"),
    instance<yes>("doidleprocessing"),
    instance<isComponent>("iscomponent"),
    instance<isDbcsEnvironment>("isdbcsenvironment"),
    instance<registerBaseMessageFile>("registerbasemessagefile"),
    instance<implementedBySubclass>("implementedbysubclass"),
    instance<compatibilityError>("compatibilityerror"),
    instance<shouldNotImplement>("shouldnotimplement"),
    instance<invalidParameter>("invalidparameter"),
    instance<whatDidntIUnderstand>("whatdidntiunderstand"),
    instance<levelsOfRecursion>("levelsofrecursion"),
    instance<trace>("trace"),
    instance<concatTrace>("concattrace"),
    instance<getTraceLevel>("gettracelevel"),
    instance<setLevel>("settracelevel"),
    instance<isSignalTracing>("issignaltracing"),
    instance<no>("ismetaclass"),
    instance<no>("isbitmap"),
    instance<no>("isclass"),
    instance<no>("iscolor"),
    instance<no>("iscomp5"),
    instance<no>("iscompx"),
    instance<no>("isdbcscharacterarray"),
    instance<no>("isdesktop"),
    instance<no>("isgadget"),
    instance<no>("isicon"),
    instance<no>("isindexed"),
    instance<no>("ismenu"),
    instance<no>("ismenubar"),
    instance<no>("ismenuparent"),
    instance<no>("ispopup"),
    instance<no>("isprinter"),
    instance<no>("isprocessitem"),
    instance<no>("issequenced"),
    instance<no>("issubmenu"),
    instance<no>("iswindow"),
    instance<no>("containscharacters"),
    instance<no>("containsdbcscharacters"),
    instance<component::makeComponent>("makecomponent"),
    instance<component::allowDuplicates>("duplicatesok"),
    instance<component::refuseDuplicates>("duplicatesnotok"),
    instance<component::defineInSocket>("defineinsocket"),
    instance<component::getSocket>("getsocket"),
    instance<component::getOutputs>("getoutputs"),
    instance<component::getOutputSignalCallbacks>("getoutputsignalcallbacks"),
    instance<component::isOutputSignal>("isoutputsignal"),
    instance<component::isInputSignal>("isinputsignal"),
    instance<component::getSignalHandlers>("getsignalhandlers"),
    instance<component::addReceiver>("addreceiver"),
    instance<component::connect>("connect"),
    instance<component::connectTo>("connectto"),
    instance<component::addSignalDependant>("addsignaldependant"),
    instance<component::removeSignalDependant>("removesignaldependant"),
    instance<component::getSignalDependents>("getsignaldependents"),
    instance<component::addSpy>("addspy"),
    instance<component::addSpyCallback>("addspycallback"),
    instance<component::removeSpy>("removespy"),
    instance<component::removeSpyCallback>("removespycallback"),
    instance<component::sendToSpy>("sendtospy"),
    instance<component::disconnect>("disconnect"),
    instance<component::disconnectInputs>("disconnectinputs"),
    instance<component::disconnectOutputs>("disconnectoutputs"),
    instance<component::disconnectInstance>("disconnectinstance"),
    instance<component::removeHandler>("removehandler"),
    instance<component::disconnectSignals>("disconnectsignals"),
    instance<component::disconnectCallback>("disconnectcallback"),
    instance<component::disconnectSignal>("disconnectsignal"),
    instance<component::removeSignalDependents>("removesignaldependents"),
    instance<component::doRemoveSignalDependant>("doremovesignaldependant"),
    instance<setDelegate>("setdelegate"),
    instance<removeDelegate>("removedelegate"),
    instance<component::setEvent>("setevent"),
    instance<component::translateEvent>("translateevent"),
    instance<component::doEvent>("doevent"),
    instance<component::dispatchEvent>("dispatchevent"),
    instance<component::translateEventToSignal>("translateeventtosignal"),
};

constexpr ClassDef definition{.program = program, .name = "base", .super = "", .methods = methods};
const Registered registered(definition);

} // namespace

Ref finalizeAtRoot(const Receiver &self, oops_super_site &finalize, const ClassFamily &above) noexcept {
    if (!isPristine(*above.instances, {"finalize"}) || !isLive(self.ref())) return sendSuper<Ref>(finalize, self);
    return end(self);
}

} // namespace oocobol
