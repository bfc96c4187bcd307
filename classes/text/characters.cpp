#include "classes/text/characters.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <emmintrin.h>

namespace oocobol::characters {

namespace {

// ---- 64 bytes at a time ---------------------------------------------------------------------------------------------

constexpr std::size_t blockSize = 64;
constexpr std::uint64_t even = 0x5555555555555555;

constexpr std::size_t partSize = sizeof(__m128i);

// Which of 16 bytes are lead bytes, wherever a character starts with one.
__m128i leadsAt(const char *part) noexcept {
    __m128i bytes;
    std::memcpy(&bytes, part, sizeof bytes);
    bytes = _mm_xor_si128(bytes, _mm_set1_epi8(host::leadFlip));
    bytes = _mm_sub_epi8(bytes, _mm_set1_epi8(static_cast<char>(host::firstLead)));
    return _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(host::leadBytes - 1)), bytes);
}
unsigned bitsOf(__m128i bytes) noexcept { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

// A bit for each such byte of a block.
std::uint64_t leadsIn(const char *block) noexcept {
    std::uint64_t leads = 0;
    for (std::size_t part = 0; part < blockSize; part += partSize)
        leads |= std::uint64_t{bitsOf(leadsAt(block + part))} << part;
    return leads;
}
// Most text has not even a byte that could be one, which is seen faster, many bytes at a time.
constexpr std::size_t stretchSize = 4 * blockSize;
bool anyHighIn(const char *stretch) noexcept {
    auto all = _mm_setzero_si128();
#pragma GCC unroll 16
    for (std::size_t part = 0; part < stretchSize; part += partSize) {
        __m128i bytes;
        std::memcpy(&bytes, stretch + part, sizeof bytes);
        all = _mm_or_si128(all, bytes);
    }
    return bitsOf(all) != 0;
}
bool anyLeadIn(const char *block) noexcept {
    const auto front = _mm_or_si128(leadsAt(block), leadsAt(block + partSize));
    const auto back = _mm_or_si128(leadsAt(block + 2 * partSize), leadsAt(block + 3 * partSize));
    return bitsOf(_mm_or_si128(front, back)) != 0;
}

// Tells the second halves, block after block. In a run of lead bytes every other one starts a character, from the
// first on: adding the runs that start at odd bits to all of them carries through these and turns them over.
class SecondHalves {
public:
    std::uint64_t next(std::uint64_t leads) noexcept {
        leads &= ~carry;
        const auto behindLeads = leads << 1 | carry;
        const auto oddStarts = leads & ~even & ~behindLeads;
        std::uint64_t carriedThrough;
        carry = __builtin_add_overflow(oddStarts, leads, &carriedThrough) ? 1 : 0;
        return (even ^ carriedThrough << 1) & behindLeads;
    }
    bool isOpen() const noexcept { return carry != 0; }

private:
    std::uint64_t carry = 0; // 1: the next byte is a second half
};

// Blocks of a text; the last one filled up with null bytes, which lead nothing.
class Blocks {
public:
    explicit Blocks(std::string_view bytes) noexcept : text(bytes) {}
    bool next() noexcept {
        position += size;
        if (position >= text.size()) return false;
        size = std::min(blockSize, text.size() - position);
        if (size == blockSize) {
            leads = leadsIn(text.data() + position);
        } else {
            char filled[blockSize] = {};
            std::memcpy(filled, text.data() + position, size);
            leads = leadsIn(filled);
        }
        return true;
    }

    std::size_t position = 0; // where the block starts
    std::size_t size = 0;
    std::uint64_t leads = 0;
    // A bit for each of its bytes.
    std::uint64_t all() const noexcept {
        return size == blockSize ? ~std::uint64_t{0} : (std::uint64_t{1} << size) - 1;
    }

private:
    std::string_view text;
};

std::size_t bitsIn(std::uint64_t mask) noexcept { return static_cast<std::size_t>(std::popcount(mask)); }

// The position of the n-th bit that is set, from 0.
std::size_t selectBit(std::uint64_t mask, std::size_t n) noexcept {
    for (; n > 0; --n) mask &= mask - 1;
    return static_cast<std::size_t>(std::countr_zero(mask));
}

// The last 16 bytes may be looked at twice.
std::size_t firstDoubleByte(std::string_view text, std::size_t from) noexcept {
    if (!mayBeDoubleByte()) return text.size();
    auto at = from;
    while (text.size() - at >= stretchSize && !anyHighIn(text.data() + at)) at += stretchSize;
    while (text.size() - at >= blockSize && !anyLeadIn(text.data() + at)) at += blockSize;
    const auto firstIn = [&](std::size_t part) {
        const auto leads = bitsOf(leadsAt(text.data() + part));
        return leads != 0 ? part + static_cast<std::size_t>(std::countr_zero(leads)) : text.size();
    };
    for (; text.size() - at >= partSize; at += partSize) {
        if (const auto found = firstIn(at); found < text.size()) return found;
    }
    if (at < text.size() && text.size() - from >= partSize) return firstIn(text.size() - partSize);
    while (at < text.size() && !host::isLeadByte(text[at])) ++at;
    return at;
}

} // namespace

// ---- Counting -----------------------------------------------------------------------------------------------------

bool anyDoubleByte(std::string_view text) noexcept { return firstDoubleByte(text, 0) < text.size(); }

Counted counted(std::string_view text) noexcept {
    if (!mayBeDoubleByte()) return {text.size(), false};
    std::size_t count = text.size();
    SecondHalves halves;
    Blocks blocks(text);
    bool open = false;
    while (blocks.next()) {
        const auto seconds = halves.next(blocks.leads);
        count -= bitsIn(seconds & blocks.all());
        open = blocks.size == blockSize ? halves.isOpen() : (seconds & ~blocks.all()) != 0;
    }
    return {count, open};
}

std::size_t lengthOf(std::string_view text, std::size_t count) noexcept {
    if (!mayBeDoubleByte() || count >= text.size()) return std::min(count, text.size());
    SecondHalves halves;
    Blocks blocks(text);
    while (blocks.next()) {
        const auto starts = ~halves.next(blocks.leads) & blocks.all();
        const auto here = bitsIn(starts);
        if (count < here) return blocks.position + selectBit(starts, count);
        count -= here;
    }
    return text.size();
}

// As many characters are at least as many bytes: what they are short of is looked for behind them.
std::size_t lengthOf(const char *text, std::size_t count) noexcept {
    if (!mayBeDoubleByte()) return count;
    std::size_t length = 0;
    while (count > 0) {
        const auto [found, endsInHalf] = counted({text + length, count});
        length += count + (endsInHalf ? 1 : 0);
        count -= found;
    }
    return length;
}

bool isBoundary(std::string_view text, std::size_t position, std::size_t known) noexcept {
    if (!mayBeDoubleByte()) return true;
    auto start = position;
    while (start > known && host::isLeadByte(text[start - 1])) --start;
    return (position - start) % 2 == 0;
}

std::size_t copyCut(char *area, std::size_t size, std::string_view text) noexcept {
    const auto taken = std::min(size, text.size());
    if (taken != 0) std::memmove(area, text.data(), taken);
    if (taken < text.size() && !isBoundary(text, taken)) area[taken - 1] = ' ';
    return taken;
}

// ---- Comparing, trimming, searching, splitting --------------------------------------------------------------------

bool equalIgnoringCase(std::string_view one, std::string_view other) noexcept {
    if (one.size() != other.size()) return false;
    while (!one.empty()) {
        const auto length = lengthAt(one);
        if (length != lengthAt(other)) return false;
        char upper[2] = {one.front(), other.front()};
        if (length == 1) host::toUpper(upper, sizeof upper);
        if (upper[0] != upper[1] || one.substr(1, length - 1) != other.substr(1, length - 1)) return false;
        one.remove_prefix(length);
        other.remove_prefix(length);
    }
    return true;
}

Count hash(std::string_view text) noexcept { return hashText(withoutTrailingSpaces(text)); }

std::string_view withoutTrailingSpaces(std::string_view text) noexcept {
    for (;;) {
        auto kept = oocobol::withoutTrailingSpaces(text);
        if (kept.size() < text.size() && !isBoundary(text, kept.size())) return text.substr(0, kept.size() + 1);
        if (!kept.ends_with(doubleByteSpace) || !isBoundary(kept, kept.size() - doubleByteSpace.size()) ||
            !mayBeDoubleByte())
            return kept;
        kept.remove_suffix(doubleByteSpace.size());
        text = kept;
    }
}

std::string_view withoutTrailingBlanks(std::string_view text) noexcept {
    for (;;) {
        const auto kept = withoutTrailingSpaces(text);
        if (!kept.ends_with('\0') || !isBoundary(kept, kept.size() - 1)) return kept;
        text = kept.substr(0, kept.size() - 1);
    }
}

std::string_view withoutSpacesAround(std::string_view text) noexcept {
    auto kept = withoutTrailingSpaces(text);
    while (!kept.empty()) {
        const auto length = lengthAt(kept);
        if (!isSpace(kept.substr(0, length))) break;
        kept.remove_prefix(length);
    }
    return kept;
}

std::size_t find(std::string_view text, std::string_view wanted, std::size_t from) noexcept {
    auto known = from;
    for (;;) {
        const auto found = findBytes(text, wanted, from);
        if (found == std::string_view::npos) return found;
        const auto end = found + wanted.size();
        const auto starts = isBoundary(text, found, known);
        if (starts && (end == text.size() || isBoundary(text, end, found))) return found;
        known = starts ? found : found - 1;
        from = found + 1;
    }
}

Piece nextLine(std::string_view text, std::size_t from) noexcept {
    auto line = oocobol::nextLine(text, from);
    while (line.end < text.size() && !isBoundary(text, line.end, line.begin)) {
        const auto end = text.find('\n', line.end + 1);
        line.end = end != std::string_view::npos ? end : text.size();
    }
    return line;
}

Piece nextWord(std::string_view text, std::size_t from) noexcept {
    const auto parts = [](std::string_view character) { return isSpace(character) || character.front() == '\0'; };
    const auto characterAt = [&](std::size_t at) { return text.substr(at, lengthAt(text.substr(at))); };
    while (from < text.size() && parts(characterAt(from))) from += characterAt(from).size();
    auto end = from;
    while (end < text.size() && !parts(characterAt(end))) end += characterAt(end).size();
    return {from, end};
}

namespace {

void convert(char *text, std::size_t length, void (*conversion)(char *, std::size_t)) noexcept {
    const std::string_view all(text, length);
    for (std::size_t from = 0; from < length;) {
        const auto stop = firstDoubleByte(all, from);
        conversion(text + from, stop - from);
        from = stop;
        while (from < length && lengthAt(all.substr(from)) == longest) from += longest;
        if (from == stop) ++from; // half a character at the end
    }
}

} // namespace

void toUpper(char *text, std::size_t length) noexcept { convert(text, length, host::toUpper); }
void toLower(char *text, std::size_t length) noexcept { convert(text, length, host::toLower); }

// ---- Texts that only their end bounds -------------------------------------------------------------------------------

std::string_view upToNull(const char *text) noexcept { return {text, std::strlen(text)}; }

namespace {

// Where the next space, null byte or lead byte of the double-byte space stands. What is read behind it lies in the same
// 16 bytes, and so in the same page, which the hardware allows and address checkers must be told of.
[[gnu::no_sanitize_address]] const char *nextStop(const char *text) noexcept {
    const auto before = reinterpret_cast<std::uintptr_t>(text) % sizeof(__m128i);
    const char *block = text - before;
    for (auto known = ~0U << before;; known = ~0U, block += sizeof(__m128i)) {
        const auto bytes = _mm_load_si128(reinterpret_cast<const __m128i *>(block));
        const auto spaces = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(' '));
        const auto nulls = _mm_cmpeq_epi8(bytes, _mm_setzero_si128());
        const auto leads = _mm_cmpeq_epi8(bytes, _mm_set1_epi8(doubleByteSpace[0]));
        const auto found = _mm_movemask_epi8(_mm_or_si128(_mm_or_si128(spaces, nulls), leads));
        if (const auto stops = static_cast<unsigned>(found) & known; stops != 0) return block + std::countr_zero(stops);
    }
}

// The end may be a double-byte space: its lead byte is looked for.
std::string_view upToSpace(const char *text, bool orNull) noexcept {
    std::size_t known = 0; // a character starts there
    for (std::size_t at = 0;; ++at) {
        at = static_cast<std::size_t>(nextStop(text + at) - text);
        const std::string_view before(text, at);
        if (text[at] == '\0') {
            if (orNull) return before;
        } else if (isBoundary(before, at, known)) {
            if (text[at] == ' ' || text[at + 1] == doubleByteSpace[1]) return before;
            if (text[++at] == '\0' && orNull) return {text, at};
            known = at + 1;
        }
    }
}

} // namespace

std::string_view upToSpace(const char *text) noexcept {
    if (mayBeDoubleByte()) return upToSpace(text, false);
    return {text, static_cast<std::size_t>(static_cast<const char *>(rawmemchr(text, ' ')) - text)};
}
std::string_view upToSpaceOrNull(const char *text) noexcept {
    if (mayBeDoubleByte()) return upToSpace(text, true);
    return {text, static_cast<std::size_t>(strchrnul(text, ' ') - text)};
}

} // namespace oocobol::characters
