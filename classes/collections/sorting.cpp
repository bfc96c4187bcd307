#include "classes/collections/sorting.h"

#include <algorithm>
#include <bit>

#include "runtime/memory.h"

namespace oocobol {

namespace {

static_assert(std::endian::native == std::endian::little);

// ---- Keys -----------------------------------------------------------------------------------------------------------
// Up to 8 bytes of a record as a number that orders as they do.

constexpr std::size_t keyBytes = sizeof(std::uint64_t);

std::uint64_t loadBytes(const std::byte *from, std::size_t count) {
    std::uint64_t value = 0;
    std::memcpy(&value, from, count);
    return value;
}

std::uint64_t keyOf(const std::byte *record, std::size_t width, Order order) {
    constexpr std::uint64_t sign = 0x80000000;
    const auto value = width >= keyBytes ? loadBytes(record, keyBytes) : loadBytes(record, width);
    if (order == Order::bytes) return __builtin_bswap64(value);
    return order == Order::littleSigned ? value ^ sign : value;
}

// ---- In place -------------------------------------------------------------------------------------------------------

void exchange(std::byte *one, std::byte *other, std::size_t width) { std::swap_ranges(one, one + width, other); }

void sift(std::byte *records, std::size_t root, std::size_t count, std::size_t width, Order order) {
    for (;;) {
        auto child = 2 * root + 1;
        if (child >= count) return;
        auto *larger = records + child * width;
        if (child + 1 < count && compareInOrder(larger, larger + width, width, order) < 0) {
            ++child;
            larger += width;
        }
        if (compareInOrder(records + root * width, larger, width, order) >= 0) return;
        exchange(records + root * width, larger, width);
        root = child;
    }
}

void heapSort(std::byte *records, std::size_t count, std::size_t width, Order order) {
    for (auto root = count / 2; root-- > 0;) sift(records, root, count, width, order);
    for (auto end = count; end-- > 1;) {
        exchange(records, records + end * width, width);
        sift(records, 0, end, width, order);
    }
}

// ---- Few records: keys and where they come from ---------------------------------------------------------------------

struct Tagged {
    std::uint64_t key;
    std::uint32_t index;
};

// Puts the records into the order of their tags; `moved` holds as many bytes as they do.
void gather(std::byte *records, std::byte *moved, const Tagged *tags, std::size_t count, std::size_t width) {
    for (std::size_t i = 0; i < count; ++i) copyElement(moved + i * width, records + tags[i].index * width, width);
    std::memcpy(records, moved, count * width);
}

void tag(Tagged *tags, const std::byte *records, std::size_t count, std::size_t width, std::size_t offset,
         Order order) {
    for (std::size_t i = 0; i < count; ++i)
        tags[i] = {keyOf(records + i * width + offset, width - offset, order), static_cast<std::uint32_t>(i)};
}

// The bytes before `offset` are the same in all records.
void sortByTags(std::byte *records, std::size_t count, std::size_t width, std::size_t offset, Order order, Tagged *tags,
                std::byte *moved) {
    tag(tags, records, count, width, offset, order);
    const auto rest = offset + keyBytes;
    const auto hasRest = width > rest;
    std::sort(tags, tags + count, [&](const Tagged &one, const Tagged &other) {
        if (one.key != other.key || !hasRest) return one.key < other.key;
        return std::memcmp(records + one.index * width + rest, records + other.index * width + rest, width - rest) < 0;
    });
    gather(records, moved, tags, count, width);
}

// ---- Many narrow records: by byte columns, the least significant first ----------------------------------------------

struct Columns {
    std::size_t width;
    Order order;
    // Position of the column with that weight, 0 the least significant.
    std::size_t position(std::size_t weight) const { return order == Order::bytes ? width - 1 - weight : weight; }
    // What the column's byte is exclusive-ored with, so that it orders as unsigned.
    std::uint8_t flip(std::size_t weight) const {
        return order == Order::littleSigned && weight == width - 1 ? 0x80 : 0;
    }
};

constexpr std::size_t widestByColumns = 8;

// `width` is a constant to the compiler where this is called with one.
template <std::size_t constantWidth>
void scatter(std::byte *to, const std::byte *from, std::size_t count, std::size_t runtimeWidth, std::size_t position,
             std::uint8_t flip, std::uint32_t *places) {
    const auto width = constantWidth != 0 ? constantWidth : runtimeWidth;
    for (std::size_t i = 0; i < count; ++i, from += width) {
        const auto byte = static_cast<std::uint8_t>(std::to_integer<std::uint8_t>(from[position]) ^ flip);
        auto *place = to + std::size_t{places[byte]++} * width;
        if constexpr (constantWidth != 0)
            std::memcpy(place, from, constantWidth);
        else
            std::memcpy(place, from, width);
    }
}

void scatterColumn(std::byte *to, const std::byte *from, std::size_t count, std::size_t width, std::size_t position,
                   std::uint8_t flip, std::uint32_t *places) {
    switch (width) {
    case 1:
        return scatter<1>(to, from, count, width, position, flip, places);
    case 2:
        return scatter<2>(to, from, count, width, position, flip, places);
    case 4:
        return scatter<4>(to, from, count, width, position, flip, places);
    case 8:
        return scatter<8>(to, from, count, width, position, flip, places);
    case 10:
        return scatter<10>(to, from, count, width, position, flip, places);
    case 16:
        return scatter<16>(to, from, count, width, position, flip, places);
    default:
        return scatter<0>(to, from, count, width, position, flip, places);
    }
}

constexpr std::size_t byteValues = 256;
using Histogram = std::uint32_t[byteValues];

// From how many records have each byte to where the first of them goes. False when all have the same one.
bool makePlaces(std::uint32_t *counts, std::size_t count) {
    std::uint32_t place = 0;
    for (auto *entry = counts; entry != counts + byteValues; ++entry) {
        const auto here = *entry;
        if (here == count) return false;
        *entry = place;
        place += here;
    }
    return true;
}

void sortByColumns(std::byte *records, std::size_t count, const Columns &columns, std::byte *moved) {
    const auto width = columns.width;
    Histogram counts[widestByColumns] = {};
    for (const auto *record = records; record != records + count * width; record += width) {
        for (std::size_t position = 0; position < width; ++position)
            ++counts[position][std::to_integer<std::uint8_t>(record[position])];
    }
    auto *from = records;
    auto *to = moved;
    for (std::size_t weight = 0; weight < width; ++weight) {
        const auto position = columns.position(weight);
        const auto flip = columns.flip(weight);
        auto *places = counts[position];
        if (flip != 0) std::rotate(places, places + flip, places + byteValues);
        if (!makePlaces(places, count)) continue;
        scatterColumn(to, from, count, width, position, flip, places);
        std::swap(from, to);
    }
    if (from != records) std::memcpy(records, from, count * width);
}

// ---- Many wide records: in place, by one byte column after the other ------------------------------------------------
// Wide records are expensive to move and a second area for all of them is more so: each goes once to its bucket per
// column, until the buckets are small enough for tags.

struct Buckets {
    std::uint32_t ends[byteValues];
    std::size_t largest = 0; // the one with the most records
    bool isOne = false;      // that has all of them

    Buckets(const std::byte *records, std::size_t count, std::size_t width, std::size_t column) {
        std::uint32_t counts[byteValues] = {};
        for (std::size_t i = 0; i < count; ++i) ++counts[std::to_integer<std::uint8_t>(records[i * width + column])];
        std::uint32_t end = 0;
        for (std::size_t i = 0; i < byteValues; ++i) {
            if (counts[i] > counts[largest]) largest = i;
            ends[i] = end += counts[i];
        }
        isOne = counts[largest] == count;
    }
    std::uint32_t start(std::size_t bucket) const { return bucket == 0 ? 0 : ends[bucket - 1]; }
    std::uint32_t count(std::size_t bucket) const { return ends[bucket] - start(bucket); }
};

// Moves every record into its bucket, round and round from the first that is not in its place.
void distribute(std::byte *records, std::size_t width, std::size_t column, const Buckets &buckets, std::byte *held) {
    std::uint32_t next[byteValues];
    for (std::size_t i = 0; i < byteValues; ++i) next[i] = buckets.start(i);
    const auto bucketOf = [column](const std::byte *record) { return std::to_integer<std::size_t>(record[column]); };
    auto *other = held + width;
    for (std::size_t bucket = 0; bucket < byteValues; ++bucket) {
        while (next[bucket] < buckets.ends[bucket]) {
            auto *home = records + std::size_t{next[bucket]} * width;
            auto target = bucketOf(home);
            if (target != bucket) {
                copyElement(held, home, width);
                do {
                    auto *place = records + std::size_t{next[target]++} * width;
                    copyElement(other, place, width);
                    copyElement(place, held, width);
                    std::swap(held, other);
                    target = bucketOf(held);
                } while (target != bucket);
                copyElement(home, held, width);
            }
            ++next[bucket];
        }
    }
}

constexpr std::size_t fewRecords = 2000;
constexpr std::size_t smallBucket = 256;

// The bytes before `column` are the same in all records. `tags` and `moved` have room for a small bucket, `held` for
// two records.
void sortByBuckets(std::byte *records, std::size_t count, std::size_t width, Tagged *tags, std::byte *moved,
                   std::byte *held, std::size_t column = 0) {
    for (; count > 1 && column < width; ++column) {
        if (count <= smallBucket) return sortByTags(records, count, width, column, Order::bytes, tags, moved);
        const Buckets buckets(records, count, width, column);
        if (buckets.isOne) continue;
        distribute(records, width, column, buckets, held);
        for (std::size_t bucket = 0; bucket < byteValues; ++bucket) {
            if (bucket == buckets.largest) continue; // the others are at most half: the recursion stays shallow
            sortByBuckets(records + buckets.start(bucket) * width, buckets.count(bucket), width, tags, moved, held,
                          column + 1);
        }
        records += buckets.start(buckets.largest) * width;
        count = buckets.count(buckets.largest);
    }
}

constexpr std::size_t veryFewRecords = 24;
constexpr std::size_t widestToInsert = 64;

void insertionSort(std::byte *records, std::size_t count, std::size_t width, Order order) {
    std::byte held[widestToInsert];
    for (std::size_t i = 1; i < count; ++i) {
        auto *place = records + i * width;
        if (compareInOrder(place - width, place, width, order) <= 0) continue;
        std::memcpy(held, place, width);
        auto *target = place - width;
        while (target != records && compareInOrder(target - width, held, width, order) > 0) target -= width;
        std::memmove(target + width, target, static_cast<std::size_t>(place - target));
        std::memcpy(target, held, width);
    }
}

} // namespace

int compareInOrder(const std::byte *one, const std::byte *other, std::size_t width, Order order) noexcept {
    if (order == Order::bytes) return std::memcmp(one, other, width);
    const auto first = keyOf(one, width, order);
    const auto second = keyOf(other, width, order);
    return first < second ? -1 : first > second;
}

void sortInOrder(std::byte *records, std::size_t count, std::size_t width, Order order) noexcept {
    if (count < 2 || width == 0) return;
    if (count <= veryFewRecords && width <= widestToInsert) return insertionSort(records, count, width, order);
    // What the scratch area holds: all records again, or the tags and records of the largest part that needs them.
    const auto byColumns = count >= fewRecords && width <= widestByColumns;
    const auto tagged = byColumns ? 0 : count < fewRecords ? count : smallBucket;
    const auto copied = byColumns ? count : tagged + 2;
    auto *scratch = static_cast<std::byte *>(allocate(tagged * sizeof(Tagged) + copied * width));
    if (scratch == nullptr) return heapSort(records, count, width, order);
    auto *tags = reinterpret_cast<Tagged *>(scratch);
    auto *moved = scratch + tagged * sizeof(Tagged);
    if (byColumns)
        sortByColumns(records, count, {width, order}, moved);
    else if (count < fewRecords)
        sortByTags(records, count, width, 0, order, tags, moved);
    else
        sortByBuckets(records, count, width, tags, moved, moved + smallBucket * width);
    release(scratch);
}

} // namespace oocobol
