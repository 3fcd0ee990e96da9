// evaluation.cpp - what an expression sees and what the host answers.
//
// Tested by tests/regexp/evaluation_test.cpp.
#include <algorithm>
#include <cstring>
#include <string_view>

#include <qxut/regexp/context.hpp>

#include "regexp/allocator.h"

const RE_Evaluation_Input* RE_Evaluation_Inputs::get(const char16_t* name) const noexcept {
    if (name == nullptr) return nullptr;
    const std::u16string_view wanted = name;
    const RE_Evaluation_Input* unset = nullptr;
    for (size_t i = 0; i < count_; ++i) {
        const RE_Evaluation_Input& input = inputs_[i];
        if (input.name == nullptr || wanted != input.name) continue;
        if (input.is_set) return &input;
        if (unset == nullptr) unset = &input;
    }
    return unset;
}

const RE_Evaluation_Input* RE_Evaluation_Inputs::token(size_t number) const noexcept {
    if (number == RE_Evaluation_Input::kNoToken) return nullptr;
    for (size_t i = 0; i < count_; ++i) {
        if (inputs_[i].token == number) return inputs_ + i;
    }
    return nullptr;
}

RE_Evaluation_IO::~RE_Evaluation_IO() { qxut::regexp::free_objects(text_); }

void RE_Evaluation_IO::set_text(const char16_t* text, size_t length) {
    if (length > capacity_) {
        // The text may be the answer given before.
        auto* const block =
            static_cast<char16_t*>(qxut::regexp::allocate_objects(length, sizeof(char16_t)));
        std::copy_n(text, length, block);
        qxut::regexp::free_objects(text_);
        text_ = block;
        capacity_ = length;
    } else if (length != 0) {
        std::memmove(text_, text, length * sizeof(char16_t));
    }
    text_length_ = length;
    answer_ = Answer::text;
}

void RE_Evaluation_IO::set_truth(bool truth) noexcept {
    answer_ = truth ? Answer::yes : Answer::no;
}

const char16_t* RE_Evaluation_IO::text() const noexcept {
    switch (answer_) {
        case Answer::yes:
            return u"1";
        case Answer::no:
            return u"0";
        default:
            return answer_ == Answer::text && text_length_ != 0 ? text_ : u"";
    }
}

size_t RE_Evaluation_IO::text_length() const noexcept {
    switch (answer_) {
        case Answer::none:
            return 0;
        case Answer::text:
            return text_length_;
        default:
            return 1;
    }
}

bool RE_Evaluation_IO::truth() const noexcept {
    return answer_ == Answer::yes || (answer_ == Answer::text && text_length_ != 0);
}
