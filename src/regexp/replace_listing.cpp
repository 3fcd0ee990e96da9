// replace_listing.cpp - a template's elements as lines of a listing and as a graph for dot.
//
// Entry points: RE_Replace::dump, RE_Replace::graph. Tested by tests/regexp/template_test.cpp.
#include <qxut/util/output.h>

#include "regexp/dump_text.h"
#include "regexp/replace_parts.h"

using namespace qxut::regexp;

void RE_Replace_String::list(std::string& text) const {
    text += '\'';
    append_characters(text, units.data(), units.size());
    text += '\'';
}

void RE_Replace_Token::list(std::string& text) const {
    text += "Token #";
    append_decimal(text, number);
}

void RE_Replace_Named_Token::list(std::string& text) const {
    text += "Token ";
    append_name(text, name);
}
void RE_Replace_Named_Token::label(std::string& text) const {
    text += "Token <";
    append_name(text, name);
    text += '>';
}

void RE_Replace_Special::list(std::string& text) const {
    switch (kind) {
        case RE_REPLACE_FORMER:
            text += "Replace former";
            break;
        case RE_REPLACE_LATTER:
            text += "Replace latter";
            break;
        default:
            text += "Replace matched";
    }
}

void RE_Replace_Evaluator::list(std::string& text) const {
    text += "Evaluate {";
    append_characters(text, written.data(), written.size());
    text += '}';
}
void RE_Replace_Evaluator::label(std::string& text) const { text += "Replace Evaluator"; }

void RE_Replace::dump() const {
    utPrintf("Replace:\n");
    std::string line;
    for (const RE_Replace_Node* node = parts_->first; node != nullptr; node = node->next) {
        line.clear();
        node->list(line);
        utPrintf("%s\n", line.c_str());
    }
}

std::string RE_Replace::graph() const {
    std::string text = "\n\ndigraph regexprep {\nR0 [label=Start];\n";
    std::string label;
    size_t number = 0;
    for (const RE_Replace_Node* node = parts_->first; node != nullptr; node = node->next) {
        label.clear();
        node->label(label);
        const size_t before = number++;
        text += 'R';
        append_decimal(text, number);
        text += " [label=";
        append_label(text, label);
        text += "];\nR";
        append_decimal(text, before);
        text += " -> R";
        append_decimal(text, number);
        text += " [label=Chain];\n";
    }
    return text + "}\n";
}
