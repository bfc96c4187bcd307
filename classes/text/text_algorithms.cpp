#include "classes/text/text_algorithms.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <emmintrin.h>

#include "host/host.h"

namespace oocobol {

namespace {

// ---- Blocks of 16 bytes ---------------------------------------------------------------------------------------------

constexpr std::size_t blockSize = 16;
constexpr unsigned everyByte = 0xFFFF; // one bit a byte

template <class Number> std::uint64_t load(const char *from) {
    Number number;
    std::memcpy(&number, from, sizeof number);
    return number;
}

__m128i loadBlock(const char *from) {
    __m128i block;
    std::memcpy(&block, from, sizeof block);
    return block;
}

// Fewer than 16 bytes in a block, zeros behind them: two loads that overlap, so that nothing beyond them is read.
__m128i loadPart(const char *from, std::size_t length) {
    std::uint64_t low = 0, high = 0;
    if (length > 8) {
        low = load<std::uint64_t>(from);
        high = load<std::uint64_t>(from + length - 8) >> (8 * (blockSize - length));
    } else if (length >= 4) {
        low = load<std::uint32_t>(from) | load<std::uint32_t>(from + length - 4) << (8 * (length - 4));
    } else if (length > 0) {
        const auto byte = [&](std::size_t at) { return load<std::uint8_t>(from + at) << (8 * at); };
        low = byte(0) | byte(length / 2) | byte(length - 1);
    }
    return _mm_set_epi64x(static_cast<std::int64_t>(high), static_cast<std::int64_t>(low));
}

unsigned bitsOf(__m128i bytes) { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

// A bit for each byte that is no space; for each that belongs to a word.
unsigned othersThanSpace(__m128i block) { return bitsOf(_mm_cmpeq_epi8(block, _mm_set1_epi8(' '))) ^ everyByte; }
unsigned wordBytes(__m128i block) {
    const auto aboveSpace = _mm_subs_epu8(block, _mm_set1_epi8(' '));
    return bitsOf(_mm_cmpeq_epi8(aboveSpace, _mm_setzero_si128())) ^ everyByte;
}

// The first position at or after `from` whose bit `found` sets; the size when there is none.
template <class Found> std::size_t firstPosition(std::string_view text, std::size_t from, Found found) {
    for (; text.size() - from >= blockSize; from += blockSize) {
        const auto bits = found(loadBlock(text.data() + from));
        if (bits != 0) return from + static_cast<std::size_t>(std::countr_zero(bits));
    }
    const auto left = text.size() - from;
    const auto bits = found(loadPart(text.data() + from, left)) & ((1U << left) - 1);
    return bits != 0 ? from + static_cast<std::size_t>(std::countr_zero(bits)) : text.size();
}

} // namespace

// ---- Comparing ----------------------------------------------------------------------------------------------------

int comparePadded(std::string_view one, std::string_view other) noexcept {
    const auto common = std::min(one.size(), other.size());
    if (common != 0) {
        if (const auto order = std::memcmp(one.data(), other.data(), common); order != 0) return order;
    }
    if (one.size() == other.size()) return 0;
    const auto &longer = one.size() > common ? one : other;
    const auto at = firstPosition(longer, common, othersThanSpace);
    if (at == longer.size()) return 0;
    const auto isAbove = static_cast<unsigned char>(longer[at]) > ' ';
    return isAbove == (one.size() > common) ? 1 : -1;
}

bool equalPadded(std::string_view one, std::string_view other) noexcept {
    const auto common = std::min(one.size(), other.size());
    if (common != 0 && std::memcmp(one.data(), other.data(), common) != 0) return false;
    if (one.size() == other.size()) return true;
    const auto &longer = one.size() > common ? one : other;
    return firstPosition(longer, common, othersThanSpace) == longer.size();
}

bool equalPaddedIgnoringCase(std::string_view one, std::string_view other) noexcept {
    static constexpr std::size_t chunk = 256;
    char upper[2][chunk];
    const auto take = [](std::string_view &text, char *into) {
        const auto size = std::min(text.size(), chunk);
        if (size != 0) std::memcpy(into, text.data(), size);
        host::toUpper(into, size);
        text.remove_prefix(size);
        return std::string_view(into, size);
    };
    while (!one.empty() || !other.empty()) {
        if (!equalPadded(take(one, upper[0]), take(other, upper[1]))) return false;
    }
    return true;
}

// ---- Hashing ------------------------------------------------------------------------------------------------------
// The hash is a polynomial in 47 whose coefficients are the bytes, the first byte the lowest. Four bytes make one
// 32-bit lane, which is exact: 255 x (1 + 47) fits 16 bits and that x (1 + 47^2) fits 32. Four lanes make a block,
// and Horner's rule over the blocks, from the last to the first, multiplies modulo 2^32 in the low halves of 64-bit
// lanes, where SSE2 has a multiplication.

namespace {

constexpr std::uint32_t multiplier = 47;

constexpr std::uint32_t power(std::size_t exponent) {
    std::uint32_t result = 1;
    while (exponent-- > 0) result *= multiplier;
    return result;
}

__m128i inEachHalf(std::uint32_t value) { return _mm_set1_epi64x(std::int64_t{value}); }

// The four lanes of a block: bytes 0 to 3 with 1, 47, 47^2, 47^3, and so on.
__m128i lanesOf(__m128i block) {
    const auto even = _mm_and_si128(block, _mm_set1_epi16(0xFF));
    const auto odd = _mm_mullo_epi16(_mm_srli_epi16(block, 8), _mm_set1_epi16(multiplier));
    const auto pairs = _mm_add_epi16(even, odd);
    return _mm_madd_epi16(pairs, _mm_set1_epi32(1 | multiplier * multiplier << 16));
}

// A sum of weighted blocks: lanes 0 and 2, lanes 1 and 3. Only the low half of each 64 bits counts.
struct Sum {
    __m128i even = _mm_setzero_si128();
    __m128i odd = _mm_setzero_si128();

    void times(__m128i weight) {
        even = _mm_mul_epu32(even, weight);
        odd = _mm_mul_epu32(odd, weight);
    }
    void add(__m128i lanes) {
        even = _mm_add_epi64(even, lanes);
        odd = _mm_add_epi64(odd, _mm_srli_epi64(lanes, 32));
    }
    void add(const Sum &other) {
        even = _mm_add_epi64(even, other.even);
        odd = _mm_add_epi64(odd, other.odd);
    }
    std::uint32_t value() const {
        const auto evens = _mm_mul_epu32(even, _mm_set_epi64x(std::int64_t{power(8)}, 1));
        const auto odds = _mm_mul_epu32(odd, _mm_set_epi64x(std::int64_t{power(12)}, std::int64_t{power(4)}));
        const auto both = _mm_add_epi64(evens, odds);
        return static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_add_epi64(both, _mm_srli_si128(both, 8))));
    }
};

constexpr std::size_t chains = 4; // of multiplications that do not wait for one another

std::uint32_t polynomial(std::string_view text) {
    const auto *bytes = text.data();
    const auto blocks = text.size() / blockSize;
    const auto part = loadPart(bytes + blocks * blockSize, text.size() % blockSize);
    const auto weight = inEachHalf(power(blockSize));
    Sum sum;
    sum.add(lanesOf(part));
    auto block = blocks;
    for (; block % chains != 0; sum.add(lanesOf(loadBlock(bytes + --block * blockSize)))) sum.times(weight);
    if (block == 0) return sum.value();

    // What has been summed stands one chain's turn behind the last whole group.
    Sum chain[chains];
    const auto turn = inEachHalf(power(chains * blockSize));
    chain[0] = sum;
    while (block > 0) {
        block -= chains;
        for (std::size_t i = 0; i < chains; ++i) {
            chain[i].times(turn);
            chain[i].add(lanesOf(loadBlock(bytes + (block + i) * blockSize)));
        }
    }
    for (std::size_t i = chains - 1; i > 0; --i) {
        chain[i].times(weight);
        chain[i - 1].add(chain[i]);
    }
    return chain[0].value();
}

// The first `kept` bytes of a block, zeros behind them.
__m128i firstBytes(__m128i block, std::size_t kept) {
    static constexpr auto masks = [] {
        std::array<char, 2 * blockSize> bytes{};
        std::fill_n(bytes.begin(), blockSize, '\xFF');
        return bytes;
    }();
    return _mm_and_si128(block, loadBlock(masks.data() + blockSize - kept));
}

// Most keys are short: their spaces are found and left out in one look.
std::uint32_t polynomialOfBlock(std::string_view text) {
    const auto block = text.size() == blockSize ? loadBlock(text.data()) : loadPart(text.data(), text.size());
    const auto bits = othersThanSpace(block) & ((1U << text.size()) - 1);
    Sum sum;
    sum.add(lanesOf(firstBytes(block, static_cast<std::size_t>(std::bit_width(bits)))));
    return sum.value();
}

} // namespace

Count hashText(std::string_view text) noexcept {
    const auto hash = text.size() <= blockSize ? polynomialOfBlock(text) : polynomial(withoutTrailingSpaces(text));
    return static_cast<std::int32_t>(hash) < 0 ? 0 - hash : hash;
}

// ---- Trimming, searching, splitting --------------------------------------------------------------------------------

std::string_view withoutTrailingSpaces(std::string_view text) noexcept {
    auto size = text.size();
    for (; size >= blockSize; size -= blockSize) {
        const auto bits = othersThanSpace(loadBlock(text.data() + size - blockSize));
        if (bits != 0) return text.substr(0, size - blockSize + static_cast<std::size_t>(std::bit_width(bits)));
    }
    const auto bits = othersThanSpace(loadPart(text.data(), size)) & ((1U << size) - 1);
    return text.substr(0, static_cast<std::size_t>(std::bit_width(bits)));
}

std::string_view withoutSpacesAround(std::string_view text) noexcept {
    const auto kept = withoutTrailingSpaces(text);
    return kept.substr(firstPosition(kept, 0, othersThanSpace));
}

std::size_t findBytes(std::string_view text, std::string_view wanted, std::size_t from) noexcept {
    if (from > text.size() || wanted.size() > text.size() - from) return std::string_view::npos;
    const auto *found = memmem(text.data() + from, text.size() - from, wanted.data(), wanted.size());
    if (found == nullptr) return std::string_view::npos;
    return static_cast<std::size_t>(static_cast<const char *>(found) - text.data());
}

Piece nextLine(std::string_view text, std::size_t from) noexcept {
    while (from < text.size() && text[from] == '\n') ++from;
    if (from >= text.size()) return {};
    const auto *end = static_cast<const char *>(std::memchr(text.data() + from, '\n', text.size() - from));
    return {from, end != nullptr ? static_cast<std::size_t>(end - text.data()) : text.size()};
}

Piece nextWord(std::string_view text, std::size_t from) noexcept {
    if (from >= text.size()) return {};
    const auto begin = firstPosition(text, from, wordBytes);
    if (begin == text.size()) return {};
    const auto end = firstPosition(text, begin, [](__m128i block) { return wordBytes(block) ^ everyByte; });
    return {begin, end};
}

// ---- Numbers as digits ---------------------------------------------------------------------------------------------

Digits decimalDigits(std::uint64_t number, std::size_t least) noexcept {
    constexpr std::uint64_t shown = 1'000'000'000'000'000'000;
    Digits digits;
    for (number %= shown; number != 0 || digits.view().size() < least; number /= 10)
        digits.prepend(static_cast<char>('0' + number % 10));
    return digits;
}

Digits signedDecimalDigits(std::int32_t number) noexcept {
    const auto bits = static_cast<std::uint32_t>(number);
    auto digits = decimalDigits(number < 0 ? 0 - bits : bits);
    if (number < 0) digits.prepend('-');
    return digits;
}

Digits hexadecimalDigits(std::uint64_t number) noexcept {
    Digits digits;
    if (number == 0) digits.prepend('0');
    for (; number != 0; number >>= 8) {
        digits.prepend("0123456789ABCDEF"[number & 15]);
        digits.prepend("0123456789ABCDEF"[number >> 4 & 15]);
    }
    return digits;
}

Count decimalValue(std::string_view digits) noexcept {
    Count value = 0;
    for (const char character : digits) value = value * 10 + (static_cast<unsigned char>(character) & 15);
    return value;
}

Count hexadecimalValue(std::string_view digits) noexcept {
    constexpr unsigned letters = 'A' - 10 - 16; // brings the low half of the code of A and of a to ten
    Count value = 0;
    for (const char character : digits) {
        const unsigned code = static_cast<unsigned char>(character);
        value = value * 16 + ((code >= 'A' ? code - letters : code) & 15);
    }
    return value;
}

} // namespace oocobol
