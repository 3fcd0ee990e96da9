// matcher_dynamic.cpp - what the host evaluates, and patterns that are parsed when they are
// reached.
//
// A dynamic pattern is matched in a frame of its own: its program, its registers, and where the
// program around it goes on. Entering and leaving it put entries on the backtrack stack that make
// the frame before the current one again, so that a failure finds its way back into a pattern that
// was left. A frame lives until the entry is taken that was put down when it was entered. Tokens
// are those of the outermost pattern.
//
// Entry: the main loop. Tested by tests/regexp/host_test.cpp.
#include "regexp/failure.h"
#include "regexp/matcher_run.h"

namespace qxut::regexp {

// The tokens matched so far, as an expression sees them.
Vector<RE_Evaluation_Input> Backtracker::inputs() const {
    const Program& outermost = *scratch_.frames[0].program;
    Vector<RE_Evaluation_Input> list(outermost.token_count);
    for (size_t i = 0; i < list.size(); ++i) {
        RE_Evaluation_Input& input = list[i];
        const TokenState& token = scratch_.tokens[i + 1];
        input.token = i + 1;
        input.name = i < outermost.names.size() ? outermost.names[i] : nullptr;
        input.is_set = token.end != kUnset;
        if (!input.is_set) continue;
        input.text = text_ + token.start;
        input.length = token.end - token.start;
        input.start = token.start;
        input.end = token.end;
    }
    return list;
}

// What the host prepared; of the outermost pattern only.
void* Backtracker::function_of(const RE_Text& text) const {
    return frame_ == 0 && request_->functions != nullptr ? request_->functions[text.id] : nullptr;
}

bool Backtracker::evaluate(State& state) {
    const Instruction& in = program_->code[state.pc];
    const RE_Text& text = program_->texts[in.arg];
    if (request_->context == nullptr) return false;
    const Vector<RE_Evaluation_Input> list = inputs();
    const RE_Evaluation_Inputs seen(list.data(), list.size());
    const bool is_condition = in.op == Op::evaluate_condition;
    RE_Evaluation_IO io(is_condition ? RE_EVALUATE_CONDITION : RE_EVALUATE_EFFECT, text.text,
                        text.length, seen);
    io.function = function_of(text);
    io.subject = text_;
    io.subject_length = request_->length;
    io.position = offset(state.position);
    if (!request_->context->evaluate_string(io)) return false;
    state.pc = !is_condition || io.truth() ? in.next : in.alt;
    return state.pc != kNoWay;
}

bool Backtracker::enter_dynamic(State& state) {
    const Instruction& in = program_->code[state.pc];
    const RE_Text& text = program_->texts[in.arg];
    const size_t depth = scratch_.frames[frame_].depth + size_t{1};
    if (depth > limits_.dynamic_depth)
        fail_depth_limit(limits_.dynamic_depth, offset(state.position));
    if (dynamic_programs_ == nullptr) dynamic_programs_.reset(require(new DynamicPrograms));
    DynamicPrograms& programs = *dynamic_programs_;
    const Program& outermost = *scratch_.frames[0].program;
    const Program* entered = nullptr;
    if (in.op == Op::parse_dynamic) {
        entered =
            &programs.program_of(text.text, text.length, text.flags, request_->context, outermost);
    } else {
        if (request_->context == nullptr) return false;
        const Vector<RE_Evaluation_Input> list = inputs();
        const RE_Evaluation_Inputs seen(list.data(), list.size());
        RE_Evaluation_IO io(RE_EVALUATE_PATTERN, text.text, text.length, seen);
        io.function = function_of(text);
        io.subject = text_;
        io.subject_length = request_->length;
        io.position = offset(state.position);
        if (!request_->context->evaluate_string(io)) return false;
        entered = &programs.program_of(io.text(), io.text_length(), text.flags, request_->context,
                                       outermost);
    }
    const size_t registers = scratch_.registers.size();
    const auto frame = static_cast<uint32_t>(scratch_.frames.size());
    const size_t bytes = programs.bytes() + registers * sizeof(size_t) + frame * sizeof(Frame);
    if (bytes > limits_.memory) fail_memory_limit(limits_.memory, offset(state.position));
    push(state.top, Entry::Kind::frame_end, frame_, 0, frame, state.position);
    scratch_.registers.resize(registers + entered->register_count);
    scratch_.frames.push_back({entered, registers, in.next, frame_, static_cast<uint32_t>(depth)});
    use_frame(frame);
    state.pc = entered->first;
    return state.pc != kNoWay;
}

void Backtracker::leave_dynamic(State& state) {
    const Frame& left = scratch_.frames[frame_];
    push(state.top, Entry::Kind::frame, frame_, 0, 0, state.position);
    state.pc = left.return_to;
    use_frame(left.caller);
}

}  // namespace qxut::regexp
