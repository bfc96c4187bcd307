// The table of sets and dictionaries as plainly as it can be written, to compare the library's with, slot for slot.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "tests/classes/collections/collections.h"

namespace oocobol::test {

class TableModel {
public:
    using Hash = std::uint32_t (*)(const std::string &key);
    TableModel(std::uint32_t size, std::size_t widthOfKeys, Hash hashOfKeys) : keyWidth(widthOfKeys), hash(hashOfKeys) {
        resize(size == 0 ? 1 : size);
    }

    std::uint32_t capacity = 0;
    std::uint32_t count = 0;
    bool copiesByAdding = false;    // as dictionaries of association objects are
    std::vector<std::string> slots; // 1 to capacity; empty: ""

    std::uint32_t find(const std::string &element) const {
        const auto key = element.substr(0, keyWidth);
        auto slot = hash(key) % capacity + 1;
        while (!slots[slot].empty() && slots[slot].substr(0, keyWidth) != key) slot = slot % capacity + 1;
        return slot;
    }
    bool includes(const std::string &element) const { return !slots[find(element)].empty(); }
    // What is there already stays, or is replaced.
    void add(const std::string &element, bool replaces = false) {
        if (count >= 7 * capacity / 10) grow();
        auto &slot = slots[find(element)];
        if (slot.empty()) ++count;
        if (slot.empty() || replaces) slot = element;
    }
    bool remove(const std::string &element) {
        const auto freed = find(element);
        if (slots[freed].empty()) return false;
        slots[freed].clear();
        --count;
        for (auto i = freed % capacity + 1; !slots[i].empty(); i = i % capacity + 1) {
            const auto moved = slots[i];
            const auto place = find(moved);
            if (place == i) continue;
            slots[place] = moved;
            slots[i].clear();
        }
        return true;
    }

private:
    void resize(std::uint32_t wanted) {
        capacity = wanted;
        count = 0;
        slots.assign(capacity + 1, "");
    }
    void placeAll(const std::vector<std::string> &elements) {
        for (const auto &element : elements) {
            if (!element.empty()) add(element);
        }
    }
    void copyByAdding() {
        const auto former = slots;
        resize(capacity);
        placeAll(former);
    }
    void grow() {
        if (copiesByAdding) copyByAdding();
        const auto former = slots;
        resize((capacity + 5) * 2);
        placeAll(former);
    }

    std::size_t keyWidth;
    Hash hash;
};

inline std::uint32_t madePositive(std::uint32_t hash) { return (hash >> 31) != 0 ? 0 - hash : hash; }
// As texts are hashed: from the last byte that is no space to the first.
inline std::uint32_t textHash(const std::string &text) {
    std::uint32_t hash = 0;
    const auto end = text.find_last_not_of(' ') + 1;
    for (auto i = end; i-- > 0;) hash = hash * 47 + static_cast<unsigned char>(text[i]);
    return madePositive(hash);
}
// As the keys of identity dictionaries are: from the first byte to the last.
inline std::uint32_t byteHash(const std::string &bytes) {
    std::uint32_t hash = 0;
    for (const auto byte : bytes) hash = hash * 47 + static_cast<unsigned char>(byte);
    return madePositive(hash);
}
inline std::uint32_t lowHalf(const std::string &bytes) {
    std::uint32_t number;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}
inline std::uint32_t numberHash(const std::string &bytes) { return madePositive(lowHalf(bytes)); }

template <class T> std::string bytesOf(const T &value) {
    std::string bytes(sizeof value, '\0');
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

inline std::string answered(oops_site &message, Ref object, std::size_t width, Index slot) {
    std::string bytes(width, '?');
    send(message, object, Returning{{reinterpret_cast<std::byte *>(bytes.data())}}, slot);
    return bytes;
}

// Whether a table has the model's slots; `read` answers what is to be compared of one.
template <class Read> void expectSame(Ref table, const TableModel &model, Read read) {
    ASSERT_EQ(send<Count>(SITE("capacity"), table), model.capacity);
    ASSERT_EQ(send<Count>(SITE("size"), table), model.count);
    for (std::uint32_t slot = 1; slot <= model.capacity; ++slot) {
        const auto at = static_cast<Index>(slot);
        ASSERT_EQ(send<bool>(SITE("isoccuppiedat"), table, at), !model.slots[slot].empty()) << "slot " << slot;
        if (!model.slots[slot].empty()) {
            ASSERT_EQ(read(at), model.slots[slot]) << "slot " << slot;
        }
    }
}

} // namespace oocobol::test
