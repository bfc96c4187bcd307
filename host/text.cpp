// Conversions of text: ASCII letters only, whatever the locale, so that names compare alike everywhere.
#include <cstring>

#include "host/host.h"

namespace oocobol::host {
namespace {

using Block [[gnu::vector_size(16)]] = signed char; // bytes above 127 count as negative: no letters

constexpr signed char caseBit = 'a' ^ 'A';

template <char First, char Last> Block exchanged(Block block) {
    const auto letters = (block >= First) & (block <= Last);
    return block ^ (letters & caseBit);
}

template <char First, char Last> void exchangeCase(char *text, std::size_t length) {
    Block block;
    for (; length >= sizeof block; text += sizeof block, length -= sizeof block) {
        std::memcpy(&block, text, sizeof block);
        block = exchanged<First, Last>(block);
        std::memcpy(text, &block, sizeof block);
    }
    for (; length > 0; ++text, --length)
        if (*text >= First && *text <= Last) *text ^= caseBit;
}

} // namespace

void toUpper(char *text, std::size_t length) noexcept { exchangeCase<'a', 'z'>(text, length); }

void toLower(char *text, std::size_t length) noexcept { exchangeCase<'A', 'Z'>(text, length); }

} // namespace oocobol::host
