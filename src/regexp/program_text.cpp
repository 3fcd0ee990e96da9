// program_text.cpp - a program as text, one line an instruction: its number, what it does, and
// where it goes when that is not the next line.
#include <cstdio>

#include "regexp/characters.h"
#include "regexp/program.h"

namespace qxut::regexp {
namespace {

const char* name_of(Op op) {
    switch (op) {
        case Op::character:
            return "character";
        case Op::either:
            return "either";
        case Op::any:
            return "any";
        case Op::line:
            return "line";
        case Op::set:
            return "set";
        case Op::string:
            return "string";
        case Op::folded_string:
            return "folded string";
        case Op::loop_greedy:
            return "greedy loop";
        case Op::loop_lazy:
            return "lazy loop";
        case Op::loop_possessive:
            return "possessive loop";
        case Op::back_character:
            return "back: character";
        case Op::back_either:
            return "back: either";
        case Op::back_any:
            return "back: any";
        case Op::back_line:
            return "back: line";
        case Op::back_set:
            return "back: set";
        case Op::start_text:
            return "start of text";
        case Op::end_text:
            return "end of text";
        case Op::start_line:
            return "start of line";
        case Op::end_line:
            return "end of line";
        case Op::start_word:
            return "start of word";
        case Op::end_word:
            return "end of word";
        case Op::token_start:
            return "token start";
        case Op::token_end:
            return "token end";
        case Op::reference:
            return "reference";
        case Op::reference_folded:
            return "folded reference";
        case Op::split:
            return "split";
        case Op::choice:
            return "choice";
        case Op::if_token:
            return "if token";
        case Op::counter_start:
            return "counter start";
        case Op::counter:
            return "counter";
        case Op::iteration_start:
            return "iteration start";
        case Op::iteration_end:
            return "iteration end";
        case Op::atomic:
            return "atomic";
        case Op::look_ahead:
            return "look ahead";
        case Op::look_behind:
            return "look behind";
        case Op::region_end:
            return "region end";
        case Op::evaluate:
            return "evaluate";
        case Op::evaluate_condition:
            return "evaluate condition";
        case Op::evaluate_dynamic:
            return "evaluate, parse and match";
        case Op::parse_dynamic:
            return "parse and match";
        case Op::fail:
            return "fail";
        case Op::match:
            return "match";
    }
    return "";
}

class ProgramText {
  public:
    explicit ProgramText(const Program& program) : program_(program) {}

    std::string write() {
        for (uint32_t pc = 0; pc < program_.code.size(); ++pc) write_line(pc);
        return std::move(text_);
    }

  private:
    void number(const char* before, uint64_t value) {
        text_ += before;
        text_ += std::to_string(value);
    }
    void way(const char* before, uint32_t target) {
        text_ += before;
        if (target == kNoWay) {
            text_ += "nowhere";
        } else {
            text_ += std::to_string(target);
        }
    }
    void character(char32_t c) {
        if (c >= 0x20 && c < 0x7F) {
            text_ += static_cast<char>(c);
            return;
        }
        char code[16];
        std::snprintf(code, sizeof code, "\\x{%X}", static_cast<unsigned>(c));
        text_ += code;
    }
    void range(char32_t first, char32_t last) {
        character(first);
        if (first == last) return;
        text_ += '-';
        character(last);
    }
    void set(const CharacterSet& set);
    void single(Op what, uint32_t arg, uint32_t other);
    void arguments(const Instruction& in);
    void loop(const Loop& loop);
    void choice(const Choice& choice);
    void write_line(uint32_t pc);

    const Program& program_;
    std::string text_;
};

void ProgramText::set(const CharacterSet& set) {
    text_ += " [";
    for (char32_t c = 0; c < CharacterSet::kLowEnd; ++c) {
        if (!set.contains(c)) continue;
        const char32_t first = c;
        while (c + 1 < CharacterSet::kLowEnd && set.contains(c + 1)) ++c;
        range(first, c);
    }
    if (set.has_high()) text_ += set.is_negated() ? " and all above but" : " and above";
    if (set.classes() != 0) text_ += " classes";
    for (const CharacterSet::Range& high : set.ranges()) {
        text_ += ' ';
        range(high.first, high.last);
    }
    text_ += ']';
}

void ProgramText::single(Op what, uint32_t arg, uint32_t other) {
    switch (what) {
        case Op::character:
        case Op::back_character:
            text_ += " '";
            character(arg);
            text_ += '\'';
            break;
        case Op::either:
        case Op::back_either:
            text_ += " '";
            character(arg);
            text_ += "' '";
            character(other);
            text_ += '\'';
            break;
        case Op::set:
        case Op::back_set:
            set(program_.sets[arg]);
            break;
        default:
            break;
    }
}

void ProgramText::loop(const Loop& loop) {
    number(" {", loop.min);
    text_ += ',';
    if (loop.max != kNoLimit) text_ += std::to_string(loop.max);
    text_ += "} ";
    text_ += name_of(loop.what);
    single(loop.what, loop.arg, loop.other);
    if (loop.follower != kNoWay) text_ += ", where what follows may stand";
}

void ProgramText::choice(const Choice& choice) {
    text_ += " ->";
    for (uint32_t i = 0; i < choice.way_count; ++i)
        number(i == 0 ? " " : ", ", program_.targets[choice.ways + i]);
    if (choice.first != choice.ways) text_ += ", by the next unit";
}

void ProgramText::arguments(const Instruction& in) {
    switch (in.op) {
        case Op::string: {
            const Run run = program_.strings[in.arg];
            text_ += " '";
            for (uint32_t i = 0; i < run.length; ++i) character(program_.units[run.first + i]);
            text_ += '\'';
            break;
        }
        case Op::folded_string: {
            const Run run = program_.folded_strings[in.arg];
            text_ += " '";
            for (uint32_t i = 0; i < run.length; ++i)
                character(program_.folded_units[run.first + i].units[0]);
            text_ += '\'';
            break;
        }
        case Op::loop_greedy:
        case Op::loop_lazy:
        case Op::loop_possessive:
            loop(program_.loops[in.arg]);
            break;
        case Op::token_start:
        case Op::token_end:
            number(" ", in.arg);
            break;
        case Op::reference:
        case Op::reference_folded:
        case Op::if_token: {
            const Reference& reference = program_.references[in.arg];
            for (uint32_t i = 0; i < reference.count; ++i)
                number(" ", program_.tokens[reference.first + i]);
            break;
        }
        case Op::choice:
            choice(program_.choices[in.arg]);
            break;
        case Op::counter: {
            const Counter& counter = program_.counters[in.arg];
            text_ += counter.kind == Counter::Kind::fixed    ? " exactly"
                     : counter.kind == Counter::Kind::greedy ? " up to"
                                                             : " lazily up to";
            number(" ", counter.count);
            break;
        }
        case Op::look_behind: {
            const Region& region = program_.regions[in.arg];
            if (region.is_read_backwards) {
                text_ += ", from right to left";
                break;
            }
            number(" {", region.min);
            text_ += ',';
            if (region.max != kNoLimit) text_ += std::to_string(region.max);
            text_ += '}';
            break;
        }
        default:
            single(in.op, in.arg, in.alt);
            break;
    }
}

void ProgramText::write_line(uint32_t pc) {
    const Instruction& in = program_.code[pc];
    char head[16];
    std::snprintf(head, sizeof head, "%5u  ", static_cast<unsigned>(pc));
    text_ += head;
    text_ += name_of(in.op);
    arguments(in);
    const bool has_next = in.op != Op::choice && in.op != Op::match && in.op != Op::fail &&
                          !(in.op == Op::region_end && in.next == kNoWay);
    if (has_next && in.next != pc + 1) way(" -> ", in.next);
    if (has_alt(in.op)) way(has_next && in.next != pc + 1 ? ", else " : " else ", in.alt);
    text_ += '\n';
}

}  // namespace

std::string program_text(const Program& program) { return ProgramText(program).write(); }

}  // namespace qxut::regexp
