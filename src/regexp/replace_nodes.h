// replace_nodes.h - the elements of a replacement template, a chain over next links.
//
//     $1, ${f($0)}    token #1 -> ', ' -> evaluate {f(matched)} with the input $0
//
// The chain owns nothing: the parts of the template own its first node, and destroy the nodes in a
// loop. An input of an expression is an element that stands in no chain; its evaluator owns it.
#ifndef QXUT_SRC_REGEXP_REPLACE_NODES_H
#define QXUT_SRC_REGEXP_REPLACE_NODES_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include <qxut/regexp/context.hpp>
#include <qxut/regexp/replace.hpp>

#include "regexp/allocator.h"

// What an element is, for those who build without asking it.
struct RE_Replace_Shape {
    enum class Kind : uint8_t { other, literal, token, name, special };
    Kind kind = Kind::other;
    RE_Replace_Special_Kind special = RE_REPLACE_FORMER;
    const char16_t* units = nullptr;  // of a literal, of a name
    size_t number = 0;                // of a token; of a literal its length
};

class RE_Replace_Node : public RE_Replaceable {
  public:
    virtual RE_Replace_Shape shape() const noexcept { return {}; }
    // Appends the line of the listing without its newline, UTF-8.
    virtual void list(std::string& text) const = 0;
    // Appends the label of the graph's node as it is shown.
    virtual void label(std::string& text) const { list(text); }
    RE_Replace_Node* next = nullptr;
};

class RE_Replace_String : public RE_Replace_Node {
  public:
    void build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const override;
    void list(std::string& text) const override;
    RE_Replace_Shape shape() const noexcept override {
        return {RE_Replace_Shape::Kind::literal, RE_REPLACE_FORMER, units.data(), units.size()};
    }
    qxut::regexp::Vector<char16_t> units;
};

// An element that can be an input of an expression.
class RE_Replace_Evalable : public RE_Replace_Node {
  public:
    struct Extent {
        size_t start = 0;
        size_t end = 0;
        bool is_set = false;
        size_t token = RE_Evaluation_Input::kNoToken;
    };
    virtual Extent extent(const RE_Replace_Match& match) const noexcept = 0;
    void build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const final;
};

class RE_Replace_Token : public RE_Replace_Evalable {
  public:
    explicit RE_Replace_Token(size_t token) noexcept : number(token) {}
    Extent extent(const RE_Replace_Match& match) const noexcept override;
    void list(std::string& text) const override;
    RE_Replace_Shape shape() const noexcept override {
        return {RE_Replace_Shape::Kind::token, RE_REPLACE_FORMER, nullptr, number};
    }
    size_t number;  // SIZE_MAX when it did not fit
};

class RE_Replace_Named_Token : public RE_Replace_Evalable {
  public:
    explicit RE_Replace_Named_Token(const char16_t* token) noexcept : name(token) {}
    Extent extent(const RE_Replace_Match& match) const noexcept override;
    void list(std::string& text) const override;
    void label(std::string& text) const override;
    RE_Replace_Shape shape() const noexcept override {
        return {RE_Replace_Shape::Kind::name, RE_REPLACE_FORMER, name, 0};
    }
    const char16_t* name;  // NUL-terminated, owned by the template's parts
};

class RE_Replace_Special : public RE_Replace_Evalable {
  public:
    explicit RE_Replace_Special(RE_Replace_Special_Kind k) noexcept : kind(k) {}
    Extent extent(const RE_Replace_Match& match) const noexcept override;
    void list(std::string& text) const override;
    RE_Replace_Shape shape() const noexcept override {
        return {RE_Replace_Shape::Kind::special, kind, nullptr, 0};
    }
    RE_Replace_Special_Kind kind;
};

class RE_Replace_Evaluator : public RE_Replace_Node {
  public:
    explicit RE_Replace_Evaluator(RE_Context* c) noexcept : context(c) {}
    ~RE_Replace_Evaluator() override;
    RE_Replace_Evaluator(const RE_Replace_Evaluator&) = delete;
    RE_Replace_Evaluator& operator=(const RE_Replace_Evaluator&) = delete;
    // Lets the context prepare the expression; once, when text and inputs are there.
    void prepare();
    void build_replace(const RE_Replace_Match& match, RE_Replace_Text& result) const override;
    void list(std::string& text) const override;
    void label(std::string& text) const override;

    struct Input {
        std::unique_ptr<RE_Replace_Evalable> element;
        qxut::regexp::Vector<char16_t> name;  // as the expression has it, with a NUL
    };
    RE_Context* context;
    void* function = nullptr;
    qxut::regexp::Vector<char16_t> written;     // between the braces
    qxut::regexp::Vector<char16_t> expression;  // the same with the inputs' names
    qxut::regexp::Vector<Input> inputs;
};

#endif
