// The fast road of a send, in line where it counts: in `send` itself and in the exported functions.
#pragma once

#include <atomic>

#include "runtime/dispatch.h"
#include "runtime/object_table.h"
#include "runtime/thread_state.h"

namespace oocobol {

namespace detail {

// Whoever made the site may have left anything in it: any number names a cell that may be looked at.
inline const Cell &cellOf(const oops_site &site) noexcept {
    return cellAt(std::atomic_ref<const std::uint32_t>(site.cell).load(std::memory_order_acquire));
}

// The stack pointer itself: asking for the frame's address would make every send set up a frame.
inline std::uintptr_t stackPosition() noexcept {
#if defined(__x86_64__)
    std::uintptr_t position;
    __asm__("mov %%rsp, %0" : "=r"(position));
    return position;
#else
    return reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
#endif
}

inline bool gateOpen(std::uint32_t index) noexcept { return index < objects.gate.load(std::memory_order_relaxed); }

void sendToAnother(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept;
void sendUnusually(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept;
// With null addresses for the arguments that were left out.
void run(const Cell &cell, Ref receiver, void *body, void *const *arguments, std::uint32_t count) noexcept;

// A count that is below 1 is never enough, and a method reads no further than its own parameters.
inline bool isEnough(std::uint32_t count, const Cell &cell) noexcept {
    return static_cast<std::int32_t>(count) >=
           static_cast<std::int32_t>(cell.parameters.load(std::memory_order_relaxed));
}

// Runs what the cell says on a receiver that it was found for.
inline void enter(const Cell &cell, Ref receiver, const Entry &entry, void *const *arguments,
                  std::uint32_t count) noexcept {
    auto *body = entry.body.load(std::memory_order_relaxed);
    if (!isEnough(count, cell)) [[unlikely]]
        return run(cell, receiver, body, arguments, count);
    cell.entry.load(std::memory_order_acquire)(receiver, body, arguments, &cell);
}

} // namespace detail

inline void sendFast(Ref receiver, oops_site &site, void *const *arguments, std::uint32_t count) noexcept {
    if (!detail::gateOpen(receiver.index())) [[unlikely]]
        return detail::sendUnusually(receiver, site, arguments, count);
    const auto &entry = objects.entries[receiver.index()];
    const auto &cell = detail::cellOf(site);
    if (entry.tag.load(std::memory_order_acquire) != makeTag(receiver.generation(), cell.behaviour)) [[unlikely]]
        return detail::sendToAnother(receiver, site, arguments, count);
    if (detail::stackPosition() < thread.stackLimit) [[unlikely]]
        return detail::sendUnusually(receiver, site, arguments, count);
    detail::enter(cell, receiver, entry, arguments, count);
}

} // namespace oocobol
