// In which order threads take mutexes: recorded in checked builds, where every run of the tests then proves two things.
// Nobody waits for a mutex while he has a component's, and nobody has two components' at once: so no component's mutex
// can be part of a deadlock. For the other kinds the pairs that were seen are kept, for a look at which go both ways.
#pragma once

#include "host/host.h"

#ifndef OOCOBOL_CHECKED
#define OOCOBOL_CHECKED 0
#endif

namespace oocobol::host::lockOrder {

// Whether the calling thread has that mutex: one may have been closed since it was taken.
using IsOwned = bool (*)(MutexHandle handle);

#if OOCOBOL_CHECKED
void waits(IsOwned isOwned) noexcept;
void acquired(MutexHandle handle, MutexKind kind, IsOwned isOwned) noexcept;
void released(MutexHandle handle) noexcept;

// Whether a mutex of the one kind was ever held when one of the other was taken.
bool seen(MutexKind held, MutexKind taken) noexcept;
#else
inline void waits(IsOwned) noexcept {}
inline void acquired(MutexHandle, MutexKind, IsOwned) noexcept {}
inline void released(MutexHandle) noexcept {}
#endif

} // namespace oocobol::host::lockOrder
