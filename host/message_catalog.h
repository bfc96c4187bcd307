// A message file held in memory: numbered texts in numbered sets, parsed from the source form of X/Open message
// catalogues. Any bytes may be handed to the parser; what makes no sense in them gives no messages.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <string_view>

namespace oocobol::host {

inline constexpr std::size_t messageLimit = 2048;

class MessageCatalog {
public:
    static MessageCatalog parse(std::string_view source);

    // Null when there is no such message.
    const std::string *find(unsigned set, unsigned number) const;
    std::size_t size() const { return texts.size(); }

private:
    std::map<std::uint64_t, std::string> texts;
};

// The text with the inserts in place of %1 to %6, cut at messageLimit bytes. A missing insert shows nothing, and what
// an insert holds is not looked at again.
std::string withInserts(std::string_view text, std::span<const std::string_view> inserts);

} // namespace oocobol::host
