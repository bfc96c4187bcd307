#include "classes/callbacks/native_invoke.h"

#include "classes/callbacks/use.h"
#include "runtime/send_fast.h"

namespace oocobol {

const Cell *cellOfMessage(CallbackFields &fields, const Entry &receiver) noexcept {
    const auto behaviour = behaviourOf(receiver.tag.load(std::memory_order_acquire));
    const auto &known = cellAt(fields.methodCache);
    if (known.behaviour == behaviour && known.selector != nullptr && sameName(*known.selector, fields.name))
        return &known;
    const auto selector = findSelector(nameView(fields.name, callbackNameWidth));
    const auto *cell = selector != 0 ? cellFor(behaviourAt(behaviour), selector) : nullptr;
    if (cell != nullptr) fields.methodCache = numberOf(cell);
    return cell;
}

void sendThrough(const Cell &cell, Ref receiver, void *const *list) noexcept {
    const auto &entry = objects.entries[receiver.index()];
    if (entry.tag.load(std::memory_order_acquire) == makeTag(receiver.generation(), cell.behaviour))
        return cell.entry.load(std::memory_order_acquire)(receiver, entry.body.load(std::memory_order_relaxed), list,
                                                          &cell);
    if (!isLive(receiver)) return;
    oops_site site = {cell.selector->name, numberOf(&cell), cell.selector->id};
    send(receiver, site, list, maximumArguments); // it has become something else
}

// Without stored arguments the list is the method's as it is.
bool invokeMessageNatively(Ref callback, CallbackFields &fields, void *const *list) noexcept {
    const auto receiver = fields.receiver;
    if (detail::stackPosition() < thread.stackLimit || !receiver || fields.parameterCount != 0 ||
        !detail::gateOpen(receiver.index()))
        return false;
    const auto *entry = findEntry(receiver);
    const auto *cell = entry != nullptr ? cellOfMessage(fields, *entry) : nullptr;
    if (cell == nullptr) return false;
    Use use(callback, &fields);
    sendThrough(*cell, receiver, list);
    if (const auto over = use.end()) send<Ref>(SITE("finalize"), over);
    return true;
}

void Invoker::findOut() noexcept {
    known.look(callback);
    kind = Kind::dead;
    if (!oocobol::isLive(callback)) return;
    if (invokesNatively<CallbackFields>(known.behaviour()))
        kind = Kind::callback;
    else
        kind = invokesNatively<EntryCallbackFields>(known.behaviour()) ? Kind::entryCallback : Kind::byMessage;
}

} // namespace oocobol
