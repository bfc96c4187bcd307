// Where a program's decisions come from: random bytes, or those of a file. What was used is remembered, so that a
// program that ends badly can be run again.
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <string_view>

namespace oocobol::fuzz {

class Decisions {
public:
    explicit Decisions(std::uint64_t seed) : random(seed) {}
    explicit Decisions(std::string bytes) : replayed(std::move(bytes)), replaying(true) {}

    // A number below `limit`, at most 65,536.
    std::uint32_t below(std::uint32_t limit) {
        const std::uint32_t high = next();
        return (high << 8 | next()) % limit;
    }
    bool oneIn(std::uint32_t chances) { return below(chances) == 0; }
    template <class Choices> auto &among(Choices &choices) {
        return choices[below(static_cast<std::uint32_t>(std::size(choices)))];
    }
    bool areOver() const { return replaying && used.size() >= replayed.size(); }
    const std::string &soFar() const { return used; }

private:
    std::uint8_t next() {
        auto byte = static_cast<char>(random());
        if (replaying) byte = used.size() < replayed.size() ? replayed[used.size()] : '\0';
        used += byte;
        return static_cast<std::uint8_t>(byte);
    }

    std::mt19937_64 random;
    std::string replayed;
    std::string used;
    bool replaying = false;
};

} // namespace oocobol::fuzz
