// The vocabulary in which class modules are written: include this and nothing else of the runtime.
#pragma once

#include <array>
#include <cstring>
#include <string_view>

#include "runtime/answers.h"
#include "runtime/classes.h"
#include "runtime/errors.h"
#include "runtime/memory.h"
#include "runtime/methods.h"
#include "runtime/objects.h"
#include "runtime/receiver.h"
#include "runtime/sends.h"
#include "runtime/values.h"

namespace oocobol {

// Finalizes an object that may have gone meanwhile, or never been there.
inline void finalizeLive(Ref object) noexcept {
    if (isLive(object)) send<Ref>(SITE("finalize"), object);
}

// An object that the running method made for itself: finalized when it goes out of scope, unless given away.
class Temporary {
public:
    explicit Temporary(Ref made) noexcept : object(made) {}
    ~Temporary() {
        if (object) send<Ref>(SITE("finalize"), object);
    }
    Temporary(const Temporary &) = delete;
    Temporary &operator=(const Temporary &) = delete;

    Ref ref() const noexcept { return object; }
    explicit operator bool() const noexcept { return !object.isNull(); }
    Ref giveAway() noexcept {
        const auto given = object;
        object = null;
        return given;
    }

private:
    Ref object;
};

// A work area of the running method, zeroed: on the stack up to 256 bytes, else allocated. Test it before use; it is
// empty when memory is short.
class WorkArea {
public:
    explicit WorkArea(std::size_t size) noexcept
        : length(size), start(size <= sizeof inlineBytes ? inlineBytes : static_cast<std::byte *>(allocate(size))) {
        if (size <= sizeof inlineBytes) std::memset(inlineBytes, 0, size);
    }
    ~WorkArea() {
        if (length > sizeof inlineBytes) release(start);
    }
    WorkArea(const WorkArea &) = delete;
    WorkArea &operator=(const WorkArea &) = delete;

    explicit operator bool() const noexcept { return start != nullptr; }
    std::byte *bytes() noexcept { return start; }
    std::size_t size() const noexcept { return length; }
    Element element() noexcept { return {bytes()}; }
    Returning returning() noexcept { return Returning{{bytes()}}; }
    Bytes text() noexcept { return {reinterpret_cast<const char *>(bytes())}; }

private:
    std::size_t length;
    std::byte *start;
    alignas(16) std::byte inlineBytes[256];
};

} // namespace oocobol
