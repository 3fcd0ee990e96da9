// listing.cpp - what each node prints in the listing, and the listing.
//
// Tested by tests/regexp/parser_test.cpp, whose tables are listings.
#include "regexp/listing.h"

#include "regexp/dump_text.h"

using qxut::regexp::ListingWriter;

namespace qxut::regexp {

Numbering::Numbering(const Pattern& pattern)
    : order_(number_nodes(pattern)), numbers_(pattern.nodes.size(), 0) {
    for (size_t i = 0; i < order_.size(); ++i) {
        numbers_[order_[i]->index] = static_cast<uint32_t>(i + 1);
    }
}

ListingWriter& ListingWriter::operator<<(char32_t c) {
    append_character(text_, c);
    return *this;
}

ListingWriter& ListingWriter::operator<<(uint64_t number) {
    append_decimal(text_, number);
    return *this;
}

ListingWriter& ListingWriter::operator<<(const RE_Link& link) {
    append_hexadecimal(text_, numbering_.number(link));
    return *this;
}

ListingWriter& ListingWriter::operator<<(const RE_Text& text) {
    append_characters(text_, text.text, text.length);
    return *this;
}

void ListingWriter::put_units(const char16_t* units, size_t length) {
    append_characters(text_, units, length);
}

void ListingWriter::put_token(size_t token, const char16_t* name) {
    if (name == nullptr) {
        *this << "#" << uint64_t{token};
    } else {
        append_name(text_, name);
    }
}

void write_listing(const Pattern& pattern, void (*line)(void* data, const char* text), void* data) {
    const Numbering numbering(pattern);
    std::string text;
    ListingWriter writer(numbering, text);
    line(data, kListingHeader);
    for (const RE_Node* node : numbering.order()) {
        RE_Link self;
        self.node = const_cast<RE_Node*>(node);
        text.clear();
        writer << " " << self << "  " << node->next << "\t";
        node->list(writer);
        const RE_Link* fail = fail_of(*node);
        if (fail != nullptr && fail->node != nullptr) writer << " Fail -> " << *fail;
        writer << "\n";
        line(data, text.c_str());
    }
}

std::string listing_of(const Pattern& pattern) {
    std::string whole;
    write_listing(
        pattern,
        [](void* data, const char* text) { static_cast<std::string*>(data)->append(text); },
        &whole);
    return whole;
}

}  // namespace qxut::regexp

void RE_Natural::list(ListingWriter& writer) const { writer << "Match '" << character << "'"; }
void RE_Natural_I::list(ListingWriter& writer) const {
    writer << "Match '" << character << "' ignoring case";
}
void RE_String::list(ListingWriter& writer) const {
    writer << "Match '";
    writer.put_units(text, length);
    writer << (ignores_case ? "' ignoring case" : "'");
}
void RE_Dot_All::list(ListingWriter& writer) const { writer << "Match . (dotall)"; }
void RE_Dot_Line::list(ListingWriter& writer) const { writer << "Match . (dotexceptnewline)"; }
void RE_Range::list(ListingWriter& writer) const {
    writer << "Match [" << first << "-" << last << "]";
}
void RE_Range_I::list(ListingWriter& writer) const {
    RE_Range::list(writer);
    writer << (is_ambiguous ? " ignoring case (ambiguous)" : " ignoring case");
}
void RE_Escaped_Set::list(ListingWriter& writer) const {
    writer << "Match \\" << static_cast<char32_t>(letter);
}
void RE_Start_Word::list(ListingWriter& writer) const { writer << "Match start of word"; }
void RE_End_Word::list(ListingWriter& writer) const { writer << "Match end of word"; }
void RE_Start_Line::list(ListingWriter& writer) const { writer << "Match start of line"; }
void RE_End_Line::list(ListingWriter& writer) const { writer << "Match end of line"; }
void RE_Start_String::list(ListingWriter& writer) const { writer << "Match start of string"; }
void RE_End_String::list(ListingWriter& writer) const { writer << "Match end of string"; }
void RE_Start_Token::list(ListingWriter& writer) const {
    writer << "Start Token #" << uint64_t{token};
}
void RE_End_Token::list(ListingWriter& writer) const { writer << "End Token #" << uint64_t{token}; }
void RE_Match_Token::list(ListingWriter& writer) const {
    writer << "Match Token ";
    writer.put_token(token, name);
}
void RE_Token_Assertion::list(ListingWriter& writer) const {
    writer << "Assert Token ";
    writer.put_token(token, name);
}
void RE_Start_Counter::list(ListingWriter& writer) const { writer << "Start Counter"; }
void RE_Fixed_Counter::list(ListingWriter& writer) const {
    writer << "Fixed Counter{" << uint64_t{count} << "} -> " << alt;
}
void RE_Limit_Counter::list(ListingWriter& writer) const {
    writer << "Limit Counter{" << uint64_t{count} << "} -> " << alt;
}
void RE_Lazy_Counter::list(ListingWriter& writer) const {
    writer << "Lazy Counter{" << uint64_t{count} << "} -> " << alt;
}
void RE_Split::list(ListingWriter& writer) const {
    writer << "Split -> " << alt << (is_possessive ? " Possessive" : " ");
}
void RE_Counter_Popper::list(ListingWriter& writer) const { RE_Split::list(writer); }
void RE_Lazy_Decrementer::list(ListingWriter& writer) const { RE_Split::list(writer); }
void RE_Atomic::list(ListingWriter& writer) const { writer << "Atomic group -> " << body; }
void RE_Lookaround_Assertion::list(ListingWriter& writer) const {
    writer << "Look " << (looks_ahead ? "Ahead" : "Behind") << " -> " << body;
}
void RE_Evaluate::list(ListingWriter& writer) const {
    writer << "Evaluate and discard: " << expression;
}
void RE_Evaluate_Dynamic::list(ListingWriter& writer) const {
    writer << "Parse, evaluate and match:" << pattern;
}
void RE_Parse_Dynamic::list(ListingWriter& writer) const {
    writer << "Parse and match: " << pattern;
}
void RE_Evaluate_Assertion::list(ListingWriter& writer) const {
    writer << "Parse, evaluate and assert:" << expression;
}
void RE_Consume::list(ListingWriter& writer) const { writer << "Consume " << next; }
void RE_Seeker::list(ListingWriter& writer) const { writer << "Seek " << next; }
void RE_Null::list(ListingWriter& writer) const { writer << "<NULL>"; }
void RE_End_Of_Tree::list(ListingWriter& writer) const { writer << "<EOT>"; }
