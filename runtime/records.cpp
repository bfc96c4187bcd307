#include "runtime/records.h"

#include <cstring>

namespace oocobol {

namespace {

// Where things lie in a record; see oocobol.h.
constexpr std::size_t classDataAt = 4, instanceDataAt = 8, classMethodsAt = 12, instanceMethodsAt = 16;
constexpr std::size_t classInitialiserAt = 32, instanceInitialiserAt = 40;
constexpr std::size_t programAt = 48, programWidth = 8, nameAt = 56, nameWidth = 30, modelAt = 86, superclassAt = 88;

// And in a method entry.
constexpr std::size_t entryAt = 0, parametersAt = 9, attributesAt = 11, methodNameAt = 12;
constexpr std::size_t longestMethodName = 160;
constexpr std::uint32_t mostMethods = 30000;

std::uint32_t bigEndian(const std::byte *at) {
    std::uint32_t value = 0;
    for (std::size_t i = 0; i < 4; ++i) value = value << 8 | std::to_integer<std::uint32_t>(at[i]);
    return value;
}
void putBigEndian(std::byte *at, std::uint32_t value) {
    for (std::size_t i = 0; i < 4; ++i) at[i] = static_cast<std::byte>(value >> (24 - 8 * i));
}
void *address(const std::byte *at) {
    void *value = nullptr;
    std::memcpy(&value, at, sizeof value);
    return value;
}
std::string field(const std::byte *at, std::size_t width) {
    return std::string(nameView(reinterpret_cast<const char *>(at), width));
}

// The name, its null byte and at least 4 zero bytes; entries follow one another at multiples of 8.
std::size_t entrySize(std::size_t nameLength) { return (methodNameAt + nameLength + 5 + 7) / 8 * 8; }

// Reads one entry and answers where the next starts; null when the name has no end.
const std::byte *readEntry(const std::byte *at, Registration::Entry &entry) {
    const auto *name = reinterpret_cast<const char *>(at + methodNameAt);
    const auto length = strnlen(name, longestMethodName + 1);
    if (length > longestMethodName) return nullptr;
    entry.code = address(at + entryAt);
    entry.parameters = std::to_integer<std::uint8_t>(at[parametersAt]);
    entry.attributes = std::to_integer<std::uint8_t>(at[attributesAt]);
    entry.name.assign(name, length);
    return at + entrySize(length);
}

} // namespace

bool readRecord(const void *record, Registration &request) noexcept try {
    if (record == nullptr) return false;
    const auto *at = static_cast<const std::byte *>(record);
    const auto methods = std::uint64_t{bigEndian(at + classMethodsAt)} + bigEndian(at + instanceMethodsAt);
    if (methods > mostMethods) return false;
    request.classData = bigEndian(at + classDataAt);
    request.instanceData = bigEndian(at + instanceDataAt);
    request.classInitialiser = address(at + classInitialiserAt);
    request.instanceInitialiser = address(at + instanceInitialiserAt);
    request.program = field(at + programAt, programWidth);
    request.name = field(at + nameAt, nameWidth);
    request.wholeData = at[modelAt] == std::byte{OOPS_WHOLE_DATA};
    std::memcpy(&request.superclass, at + superclassAt, sizeof request.superclass);
    at += OOPS_RECORD_SIZE;
    for (std::uint64_t i = 0; i < methods; ++i) {
        Registration::Entry entry;
        at = readEntry(at, entry);
        if (at == nullptr) return false;
        request.methods.push_back(std::move(entry));
    }
    return true;
} catch (const std::bad_alloc &) {
    return false;
}

} // namespace oocobol

using namespace oocobol;

extern "C" {

void oopsrecord(void *record, const char *class_program, const char *class_name, oops_ref superclass,
                uint32_t class_data_size, uint32_t instance_data_size) {
    if (record == nullptr) return;
    auto *at = static_cast<std::byte *>(record);
    std::memset(at, 0, OOPS_RECORD_SIZE);
    putBigEndian(at + classDataAt, class_data_size);
    putBigEndian(at + instanceDataAt, instance_data_size);
    std::memset(at + programAt, ' ', programWidth);
    std::memset(at + nameAt, ' ', nameWidth);
    const auto program = nameView(class_program, programWidth);
    const auto name = nameView(class_name, nameWidth);
    std::memcpy(at + programAt, program.data(), program.size());
    std::memcpy(at + nameAt, name.data(), name.size());
    std::memcpy(at + superclassAt, &superclass, sizeof superclass);
}

int32_t oopsrecordmethod(void *record, size_t capacity, const char *name, oops_method entry, int32_t parameter_count,
                         int32_t attributes) {
    if (record == nullptr || name == nullptr || entry == nullptr || capacity < OOPS_RECORD_SIZE) return 0;
    if (parameter_count < 1 || parameter_count > static_cast<int32_t>(maximumArguments)) return 0;
    auto *start = static_cast<std::byte *>(record);
    const auto onClass = (attributes & OOPS_CLASS_METHOD) != 0;
    const auto countAt = onClass ? classMethodsAt : instanceMethodsAt;
    if (onClass && bigEndian(start + instanceMethodsAt) != 0) return 0;
    const auto methods = bigEndian(start + classMethodsAt) + bigEndian(start + instanceMethodsAt);
    const std::byte *end = start + OOPS_RECORD_SIZE;
    for (std::uint32_t i = 0; i < methods && end != nullptr; ++i) {
        Registration::Entry held;
        end = readEntry(end, held);
    }
    const auto text = nameView(name, longestMethodName + 1);
    if (end == nullptr || text.empty() || text.size() > longestMethodName) return 0;
    const auto used = static_cast<std::size_t>(end - start);
    if (used + entrySize(text.size()) > capacity) return 0;
    auto *at = start + used;
    std::memset(at, 0, entrySize(text.size()));
    std::memcpy(at + entryAt, &entry, sizeof entry);
    at[parametersAt] = static_cast<std::byte>(parameter_count);
    at[attributesAt] = static_cast<std::byte>(attributes);
    std::memcpy(at + methodNameAt, text.data(), text.size());
    putBigEndian(start + countAt, bigEndian(start + countAt) + 1);
    return 1;
}

} // extern "C"
