// listing.h - the numbered listing of a graph.
//
//        Addr      Next  	   Action
//      00000001  00000002	Match 'a'
//      00000002  00000000	<EOT>
//
// A line is the node's number, that of its successor, the action; then, where the node has a
// failure link, "Fail -> " and its number. Number 0 is no node.
#ifndef QXUT_SRC_REGEXP_LISTING_H
#define QXUT_SRC_REGEXP_LISTING_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "regexp/pattern.h"

namespace qxut::regexp {

inline constexpr char kListingHeader[] = "\n\n   Addr      Next  \t   Action\n";

// The nodes with their numbers.
class Numbering {
  public:
    explicit Numbering(const Pattern& pattern);
    const Vector<RE_Node*>& order() const noexcept { return order_; }
    // 0 for a link to no node.
    uint32_t number(const RE_Link& link) const noexcept {
        return link.node == nullptr ? 0 : numbers_[link.node->index];
    }

  private:
    Vector<RE_Node*> order_;
    Vector<uint32_t> numbers_;
};

// Where a node writes its action, without a newline.
class ListingWriter {
  public:
    ListingWriter(const Numbering& numbering, std::string& text) noexcept
        : numbering_(numbering), text_(text) {}
    ListingWriter& operator<<(const char* text) {
        text_ += text;
        return *this;
    }
    ListingWriter& operator<<(char32_t c);
    ListingWriter& operator<<(uint64_t number);
    ListingWriter& operator<<(const RE_Link& link);
    ListingWriter& operator<<(const RE_Text& text);
    void put_units(const char16_t* units, size_t length);
    // "#" and the number, or the name.
    void put_token(size_t token, const char16_t* name);

  private:
    const Numbering& numbering_;
    std::string& text_;
};

// Calls `line` with the header and then with each line, in UTF-8 with its newline and a NUL behind
// it. Throws std::bad_alloc and what `line` throws.
void write_listing(const Pattern& pattern, void (*line)(void* data, const char* text), void* data);

// The whole listing, header included.
std::string listing_of(const Pattern& pattern);

}  // namespace qxut::regexp

#endif
