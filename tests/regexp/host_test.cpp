// A host that evaluates the dynamic parts of its patterns.
#include <gtest/gtest.h>

#include <qxut/regexp/regexp.h>
#include <qxut/util/contexts.h>
#include <qxut/util/error.h>
#include <qxut/regexp/context.hpp>
#include <qxut/regexp/exception.hpp>
#include <qxut/regexp/tree.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "support/failing_malloc.h"

using qxut_test::FailingMalloc;

namespace {

using Results = std::unique_ptr<RE_Results>;
using Texts = std::vector<std::string>;

std::string ascii(std::u16string_view text) {
    std::string narrow;
    for (const char16_t c : text) narrow += c < 128 ? static_cast<char>(c) : '?';
    return narrow;
}

// What an expression sees: "n[1]=ab@0-2", "[2]=unset".
std::string seen(const RE_Evaluation_Inputs& inputs) {
    std::string text;
    for (size_t i = 0; i < inputs.count(); ++i) {
        const RE_Evaluation_Input& input = *inputs.get(i);
        if (!text.empty()) text += ' ';
        if (input.name != nullptr) text += ascii(input.name);
        text += "[" + std::to_string(input.token) + "]=";
        text += input.is_set ? ascii({input.text, input.length}) + "@" +
                                   std::to_string(input.start) + "-" + std::to_string(input.end)
                             : "unset";
    }
    return text;
}

class Host : public RE_Context {
  public:
    bool allow_evaluation() const override { return true; }
    void warn(const char16_t* /*position*/, const char* format, va_list arguments) override {
        char text[256];
        utFormatRegexpWarning(text, sizeof text, format, arguments);
        log.push_back(std::string("warning ") + text);
    }
    void* create_fcn(RE_Evaluation_Purpose purpose, const char16_t* expression, size_t length,
                     const RE_Evaluation_Inputs& inputs) override {
        if (ascii({expression, length}) == fails_to_prepare) throw std::runtime_error("prepare");
        if (!prepares) return nullptr;
        log.push_back("create " + std::to_string(purpose) + " " + ascii({expression, length}) +
                      " " + seen(inputs));
        ++live;
        return new std::u16string(expression, length);
    }
    void delete_fcn(void* function) noexcept override {
        --live;
        delete static_cast<std::u16string*>(function);
    }
    bool evaluate_string(RE_Evaluation_IO& io) override {
        if (io.function != nullptr) {
            EXPECT_EQ(*static_cast<std::u16string*>(io.function),
                      std::u16string(io.expression(), io.expression_length()));
        }
        return answer(io);
    }

    std::function<bool(RE_Evaluation_IO&)> answer = [](RE_Evaluation_IO&) { return true; };
    bool prepares = false;
    std::string fails_to_prepare = "never";
    Texts log;
    int live = 0;
};

RE_Tree tree_of(std::u16string_view pattern, Host& host) {
    return RE_Tree(pattern.data(), pattern.size(), RE_EVALUATE, &host);
}

// "start-end", or "none".
std::string found(const RE_Tree& tree, std::u16string_view text) {
    const Results results(tree.match(text.data(), text.size(), 0));
    if (results == nullptr) return "none";
    return std::to_string(results->start()) + "-" + std::to_string(results->end());
}

TEST(Host, SeesTheTokensMatchedSoFar) {
    Host host;
    Texts views;
    host.answer = [&](RE_Evaluation_IO& io) {
        views.push_back(ascii({io.expression(), io.expression_length()}) + " at " +
                        std::to_string(io.position) + " of " +
                        ascii({io.subject, io.subject_length}) + ": " + seen(io.inputs()));
        EXPECT_EQ(io.purpose(), RE_EVALUATE_EFFECT);
        EXPECT_EQ(io.function, nullptr);
        EXPECT_EQ(io.inputs().get(u"first"), io.inputs().token(1));
        return true;
    };
    const RE_Tree tree = tree_of(u"(?<first>a+)(?@one)(b)?(?@two)c", host);
    EXPECT_EQ(found(tree, u"xaac"), "1-4");
    EXPECT_EQ(views, (Texts{"one at 3 of xaac: first[1]=aa@1-3 [2]=unset",
                            "two at 3 of xaac: first[1]=aa@1-3 [2]=unset"}));
    views.clear();
    EXPECT_EQ(found(tree, u"abc"), "0-3");
    EXPECT_EQ(views, (Texts{"one at 1 of abc: first[1]=a@0-1 [2]=unset",
                            "two at 2 of abc: first[1]=a@0-1 [2]=b@1-2"}));
}

TEST(Host, AnswersWithTextTruthOrFailure) {
    Host host;
    // A failure fails the path: the number must be below 50.
    host.answer = [](RE_Evaluation_IO& io) {
        return std::stoi(ascii({io.inputs().token(1)->text, io.inputs().token(1)->length})) < 50;
    };
    EXPECT_EQ(found(tree_of(u"(\\d\\d)(?@below)", host), u"99 80 49"), "6-8");

    // A text is a pattern, into which the match backtracks; it sees the tokens around it.
    host.answer = [](RE_Evaluation_IO& io) {
        EXPECT_EQ(io.purpose(), RE_EVALUATE_PATTERN);
        io.set_text(u"[xy]+\\1|z", 9);
        return true;
    };
    const RE_Tree dynamic = tree_of(u"(.)=(??@p)y", host);
    EXPECT_EQ(found(dynamic, u"x=yxxy"), "0-6");
    EXPECT_EQ(found(dynamic, u"x=xyxy"), "0-6");
    EXPECT_EQ(found(dynamic, u"x=zy"), "0-4");
    EXPECT_EQ(found(dynamic, u"x=zx"), "none");

    // A truth value decides; a failure fails the path.
    int verdict = 1;
    host.answer = [&verdict](RE_Evaluation_IO& io) {
        EXPECT_EQ(io.purpose(), RE_EVALUATE_CONDITION);
        if (verdict < 2) io.set_truth(verdict == 1);
        return verdict != 3;
    };
    const RE_Tree condition = tree_of(u"(?(?@c)a|b)", host);
    EXPECT_EQ(found(condition, u"ba"), "1-2");
    verdict = 0;
    EXPECT_EQ(found(condition, u"ba"), "0-1");
    verdict = 2;  // no answer is false
    EXPECT_EQ(found(condition, u"ba"), "0-1");
    verdict = 3;
    EXPECT_EQ(found(condition, u"ba"), "none");

    EXPECT_EQ(found(RE_Tree(u"a(??b+|c)d", 10, RE_NO_FLAGS, nullptr), u"ad acd"), "3-6")
        << "a dynamic pattern needs no host";
}

TEST(Host, PreparesEachExpressionOnce) {
    Host host;
    host.prepares = true;
    {
        const RE_Tree tree = tree_of(u"(?<n>a)(?:(?@one)(?(?@two)b)(??@three)){3}", host);
        EXPECT_EQ(host.log, (Texts{"create 0 one n[1]=unset", "create 2 two n[1]=unset",
                                   "create 1 three n[1]=unset"}));
        EXPECT_EQ(found(tree, u"xa"), "1-2");
        EXPECT_EQ(host.live, 3);
    }
    EXPECT_EQ(host.live, 0);
    host.fails_to_prepare = "three";
    EXPECT_THROW(tree_of(u"a(?@one)(?@two)(?@three)", host), std::runtime_error);
    EXPECT_EQ(host.live, 0);
}

TEST(Host, LendsItselfToOneSearch) {
    Host host;
    host.prepares = true;
    host.answer = [](RE_Evaluation_IO&) { return false; };
    const RE_Tree tree = tree_of(u"(a+)(?@x)(??@y)", host);
    const std::u16string text = u"xaab";
    std::vector<std::thread> threads;
    threads.reserve(3);
    std::atomic<int> matches = 0;
    for (int i = 0; i < 3; ++i) {
        threads.emplace_back([&] {
            Host own;
            own.answer = [](RE_Evaluation_IO& io) {
                io.set_text(u"b", 1);
                return io.function == nullptr;
            };
            RE_Search_Info info;
            info.context = &own;
            for (int round = 0; round < 20; ++round) {
                const Results results(tree.match(text.data(), text.size(), 0, nullptr, &info));
                if (results != nullptr && results->end() == 4 && !results->next()) ++matches;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(matches, 60);
    EXPECT_EQ(found(tree, text), "none");
}

TEST(Host, WarningsOfDynamicTextsComeOnceARun) {
    Host host;
    const RE_Tree tree = tree_of(u"(?:(??[a-]))+", host);
    EXPECT_TRUE(host.log.empty());
    EXPECT_EQ(found(tree, u"aa-"), "0-3");
    EXPECT_EQ(host.log, Texts{"warning Unbound range."});
    EXPECT_EQ(found(tree, u"aa-"), "0-3");
    EXPECT_EQ(host.log.size(), 2u);
}

TEST(Host, WarningsOfDynamicTextsPointIntoThem) {
    class Pointing : public Host {
      public:
        void parse_dynamic(const char16_t* text, size_t length) override {
            log.push_back("parse " + ascii({text, length}));
            text_ = text;
        }
        void warn(const char16_t* position, const char* format, va_list arguments) override {
            Host::warn(position, format, arguments);
            log.back() += " at " + std::to_string(position - text_);
        }

      private:
        const char16_t* text_ = nullptr;
    };
    Pointing host;
    host.answer = [](RE_Evaluation_IO& io) {
        io.set_text(u"b{2,1}|(??c[d-])", 16);
        return true;
    };
    EXPECT_EQ(found(tree_of(u"a(??@p)", host), u"acd"), "0-3");
    EXPECT_EQ(host.log, (Texts{"parse b{2,1}|(??c[d-])",
                               "warning Invalid pattern for '{}' quantifier specified. at 1",
                               "parse c[d-]", "warning Unbound range. at 3"}));
}

TEST(Host, NestedDynamicPatternsHaveALimit) {
    Host host;
    host.answer = [](RE_Evaluation_IO& io) {
        io.set_text(u"a(??@again)", 11);
        return true;
    };
    const RE_Tree tree = tree_of(u"(??@again)", host);
    const std::u16string text(200, u'a');
    for (const size_t asked : {size_t{0}, size_t{7}}) {
        RE_Search_Info info;
        info.limits.dynamic_depth = asked;
        try {
            delete tree.match(text.data(), text.size(), 0, nullptr, &info);
            ADD_FAILURE();
        } catch (const RE_Exception& problem) {
            EXPECT_EQ(problem.code(), UT_REGEXP_DEPTH_LIMIT);
            EXPECT_EQ(problem.limit(), asked == 0 ? 100u : 7u);
            EXPECT_EQ(problem.position(), problem.limit());
        }
    }
    EXPECT_EQ(found(tree, u"b"), "none");
}

TEST(Host, MatchesAgainInsideACallback) {
    Host host;
    const RE_Tree inner(u"(x+)y", 5, RE_NO_FLAGS, nullptr);
    const RE_Tree* outer = nullptr;
    int depth = 0;
    host.answer = [&](RE_Evaluation_IO& io) {
        EXPECT_EQ(found(inner, u"aaxxy"), "2-5");
        if (++depth < 4) {
            EXPECT_EQ(found(*outer, u"ab"), "0-2");
        }
        --depth;
        io.set_truth(true);
        return true;
    };
    const RE_Tree tree = tree_of(u"(?:a|ab)+?(?(?@c)b|x)", host);
    outer = &tree;
    EXPECT_EQ(found(tree, u"aaab"), "0-4");
}

TEST(Host, WhatItThrowsPassesThrough) {
    Host host;
    const RE_Tree tree = tree_of(u"(?:a(?@x)|b)*c", host);
    const auto works = [&] {
        host.answer = [](RE_Evaluation_IO&) { return true; };
        EXPECT_EQ(found(tree, u"xabac"), "1-5");
    };
    works();

    host.answer = [](RE_Evaluation_IO&) -> bool { throw std::logic_error("mine"); };
    EXPECT_THROW(found(tree, u"xabac"), std::logic_error);
    works();

    host.answer = [](RE_Evaluation_IO&) -> bool {
        ut_error(utGetErrorContext(), UT_ERR_RETHROW, "raised");
    };
    struct Frame {
        const RE_Tree& tree;
        std::string text;
    } frame{tree, ""};
    const ut_message_code code = ut_try_catch(
        utGetErrorContext(), &frame,
        [](_error_context*, void* data) { found(static_cast<Frame*>(data)->tree, u"xabac"); },
        [](_error_context*, void* data, ut_message_code, va_list arguments) {
            static_cast<Frame*>(data)->text = va_arg(arguments, const char*);
            return 1;
        });
    EXPECT_EQ(code, UT_ERR_RETHROW);
    EXPECT_EQ(frame.text, "raised");
    works();

    // In a nested match, and while the results go on.
    const RE_Tree thrower = tree_of(u"(?@x)", host);
    int calls = 0;
    host.answer = [&](RE_Evaluation_IO&) -> bool {
        if (++calls == 3) throw std::logic_error("third");
        return true;
    };
    const std::u16string text = u"abcd";
    const Results results(thrower.match(text.data(), text.size(), 0));
    ASSERT_NE(results, nullptr);
    size_t matches = 1;
    EXPECT_THROW(while (results->next())++ matches, std::logic_error);
    const size_t stays = results->start();
    EXPECT_TRUE(results->next());
    EXPECT_EQ(results->start(), stays + 1);
    works();
}

TEST(Host, WarningThatThrowsEndsTheCompilation) {
    class Strict : public Host {
        void warn(const char16_t* /*position*/, const char* format,
                  va_list /*arguments*/) override {
            throw std::runtime_error(format);
        }
    } strict;
    EXPECT_THROW(tree_of(u"a[b-]", strict), std::runtime_error);
}

TEST(Host, MemoryThatIsShortLeavesEverythingUsable) {
    if (!qxut_test::kCanFailMalloc) GTEST_SKIP();
    Host host;
    host.answer = [](RE_Evaluation_IO& io) {
        io.set_text(u"b|c", 3);
        return true;
    };
    const RE_Tree tree = tree_of(u"a(??@p)(?@q)(??d+)", host);
    const std::u16string text = u"xxacdd";
    for (size_t request = 0;; ++request) {
        ASSERT_LT(request, 2000u);
        try {
            const FailingMalloc failing(request);
            const Results results(tree.match(text.data(), text.size(), 0));
            EXPECT_NE(results, nullptr);
        } catch (const std::bad_alloc&) {
        }
        if (!FailingMalloc::has_failed()) break;
        EXPECT_EQ(found(tree, text), "2-6");
    }
}

}  // namespace
