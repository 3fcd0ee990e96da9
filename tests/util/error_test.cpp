// error_test.cpp - the order of handlers, items and transfer, and what survives every way out.
#include <qxut/util/error.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdarg>
#include <exception>
#include <functional>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <qxut/util/interrupt.h>

#include "support/contexts.h"
#include "util/error_c_frames.h"

namespace {

using qxut_test::Contexts;
using testing::ElementsAre;
using testing::IsEmpty;

// What happened, in order.
std::vector<std::string> events;

void note(const char* event) { events.emplace_back(event); }

class ErrorTest : public testing::Test {
  protected:
    ErrorTest() { events.clear(); }

    Contexts contexts_;
    _error_context* errors_ = &contexts_.errors;
};

// A try frame with C++ body and handler.
struct Frame {
    std::function<void()> body;
    std::function<int(ut_message_code code, const char* identifier, va_list arguments)> handler;
};

void run_body(_error_context* /*errors*/, void* data) { static_cast<Frame*>(data)->body(); }

int ask(_error_context* /*errors*/, void* data, const char* identifier, ut_message_code code,
        va_list arguments) {
    return static_cast<Frame*>(data)->handler(code, identifier, arguments);
}

ut_message_code try_catch(_error_context* errors, Frame frame) {
    return ut_try_catch_id(errors, &frame, run_body, ask);
}

// A handler that notes its name and answers.
auto answer(const char* name, int result) {
    return [=](ut_message_code, const char*, va_list) {
        note(name);
        return result;
    };
}

// An item that runs a function, or notes its name.
struct Item {
    Item(_error_context* errors, const char* item_name, std::function<void()> action = {})
        : name(item_name), then(std::move(action)) {
        ut_link_cleanup(errors, &item, &object, [](void* self) {
            note(static_cast<Item*>(self)->name);
            if (static_cast<Item*>(self)->then) static_cast<Item*>(self)->then();
        });
    }
    const char* name;
    std::function<void()> then;
    Item* object = this;
    ut_cleanup_item item{};
};

TEST_F(ErrorTest, CFramesAskHandlersThenRunItemsThenTransfer) {
    c_client client{note, UT_ASSERTION_FAULT, 1, 4};
    EXPECT_EQ(c_client_run(errors_, &client), 0u);
    EXPECT_THAT(events, ElementsAre("ask 3", "ask 2", "ask 1",  //
                                    "clean second of 3", "clean 3", "clean second of 2", "clean 2",
                                    "clean second of 1", "clean 1", "inner caught below 0"));
    EXPECT_EQ(errors_->cleanup, 0u);
}

TEST_F(ErrorTest, EveryHandlerGetsItsOwnArguments) {
    const auto consume = [](int result) {
        return [=](ut_message_code code, const char* identifier, va_list arguments) {
            EXPECT_EQ(code, UT_ERR_VALUE_OVERFLOW_TYPE);
            EXPECT_STREQ(identifier, "my:identifier");
            EXPECT_STREQ(va_arg(arguments, const char*), "text");
            EXPECT_EQ(va_arg(arguments, double), 2.5);
            EXPECT_EQ(va_arg(arguments, long), 1L << 40);
            return result;
        };
    };
    const auto raise = [&] {
        ut_error_id(errors_, "my:identifier", UT_ERR_VALUE_OVERFLOW_TYPE, "text", 2.5, 1L << 40);
    };
    const ut_message_code code =
        try_catch(errors_, {[&] {
                                try_catch(errors_, {[&] {
                                                        try_catch(errors_, {raise, consume(0)});
                                                    },  //
                                                    consume(0)});
                            },
                            consume(1)});
    EXPECT_EQ(code, UT_ERR_VALUE_OVERFLOW_TYPE);
}

// UT_ERR_RETHROW is raised in the inner one of two frames; the second error, UT_ERR_FATAL,
// comes from a handler or an item. Both frames have an item, the inner one a second, older one.
TEST_F(ErrorTest, SecondErrorFinishesThePendingUnwindingFirst) {
    for (const std::string raised_by : {"ask inner", "inner", "older"}) {
        SCOPED_TRACE(raised_by);
        events.clear();
        const auto raise_at = [&](const char* event) {
            return [&, event] {
                if (event == raised_by) ut_error(errors_, UT_ERR_FATAL);
            };
        };
        const ut_message_code code = try_catch(
            errors_, {[&] {
                          const Item outer(errors_, "outer");
                          try_catch(errors_,
                                    {[&] {
                                         const Item older(errors_, "older", raise_at("older"));
                                         const Item inner(errors_, "inner", raise_at("inner"));
                                         ut_error(errors_, UT_ERR_RETHROW, "first");
                                     },
                                     [&](ut_message_code, const char*, va_list) {
                                         note("ask inner");
                                         raise_at("ask inner")();
                                         return 1;
                                     }});
                          note("never here");
                      },
                      answer("ask outer", 1)});
        EXPECT_EQ(code, UT_ERR_FATAL);
        EXPECT_THAT(events, ElementsAre("ask inner", "inner", "older", "ask outer", "outer"));
        EXPECT_EQ(errors_->unwind_target, nullptr);
    }
}

TEST_F(ErrorTest, FaultAndIdentifier) {
    std::string seen;
    const ut_message_code code =
        try_catch(errors_, {[&] { ut_fault(errors_, "n > 0", "array.c", 12); },
                            [&](ut_message_code, const char* identifier, va_list) {
                                seen = identifier;
                                return 1;
                            }});
    EXPECT_EQ(code, 65537u);
    EXPECT_EQ(seen, "VELUMA:assertion_fault");
    try_catch(errors_, {[&] { ut_error(errors_, 99 * 65536 + 1); },
                        [&](ut_message_code, const char* identifier, va_list) {
                            seen = identifier;
                            return 1;
                        }});
    EXPECT_EQ(seen, "VELUMA:");
}

TEST_F(ErrorTest, InterruptStateIsPutBackOnlyByACatch) {
    try_catch(errors_, {[&] {
                            utSetInterruptEnabled(false);
                            ut_error(errors_, UT_ERR_FATAL);
                        },
                        answer("ask", 1)});
    EXPECT_TRUE(utIsInterruptEnabled());
    try_catch(errors_, {[] { utSetInterruptEnabled(false); }, answer("ask", 1)});
    EXPECT_FALSE(utSetInterruptEnabled(true));
}

// --- marks ---------------------------------------------------------------------------------------

TEST_F(ErrorTest, MarkEndsSearchAndCleanup) {
    const Item below_all(errors_, "below");
    const auto throw_once = [&] {
        const Item protected_item(errors_, "protected");
        ut_cleanup_mark mark;
        ut_prevent_further_cleanup_fcn(errors_, &mark);
        const Item above(errors_, "above");
        try {
            try_catch(errors_, {[&] {
                                    const Item inner(errors_, "inner");
                                    ut_error(errors_, UT_ERR_RETHROW, "lost");
                                },
                                answer("ask inner", 0)});
        } catch (const std::runtime_error& uncaught) {
            note(uncaught.what());
        }
        EXPECT_EQ(errors_->frame, &mark);
        ut_allow_further_cleanup_fcn(errors_, &mark);
        EXPECT_EQ(errors_->cleanup, reinterpret_cast<ut_cleanup_link>(&protected_item.item));
        ut_unlink_cleanup(errors_, protected_item.item.next);
    };
    EXPECT_EQ(try_catch(errors_, {throw_once, answer("never asked", 1)}), 0u);
    EXPECT_THAT(events, ElementsAre("ask inner", "inner", "above", "VELUMA:err_rethrow: lost\n"));
    ut_unlink_cleanup(errors_, 0);
}

TEST_F(ErrorTest, AllowDropsItemsAndProtectedRunsThem) {
    ut_cleanup_mark mark;
    ut_prevent_further_cleanup_fcn(errors_, &mark);
    const Item dropped(errors_, "dropped");
    ut_allow_further_cleanup_fcn(errors_, &mark);
    EXPECT_THAT(events, IsEmpty());
    EXPECT_EQ(errors_->cleanup, 0u);

    const Item kept(errors_, "kept");
    ut_prevent_further_cleanup_fcn(errors_, &mark);
    const Item older(errors_, "older");
    try_catch(errors_, {[&] {
                            const Item newer(errors_, "newer");
                            ut_cleanup_protected_items(errors_);
                            EXPECT_EQ(errors_->frame, &mark);
                        },
                        answer("ask", 1)});
    EXPECT_THAT(events, ElementsAre("newer", "older"));
    // The body's frame was popped; its return must not bring back what has been run.
    EXPECT_EQ(errors_->cleanup, 0u);
    EXPECT_EQ(errors_->frame, &mark);
    ut_allow_further_cleanup_fcn(errors_, &mark);
    EXPECT_EQ(errors_->cleanup, reinterpret_cast<ut_cleanup_link>(&kept.item));
    ut_unlink_cleanup(errors_, 0);
    ut_cleanup_protected_items(errors_);  // without a mark
    EXPECT_THAT(events, ElementsAre("newer", "older"));
}

TEST(Error, MarksIgnoreANullContext) {
    ut_cleanup_mark mark;
    ut_prevent_further_cleanup_fcn(nullptr, &mark);
    ut_allow_further_cleanup_fcn(nullptr, &mark);
    ut_cleanup_protected_items(nullptr);
}

// --- exceptions that are no raise of this context ------------------------------------------------

TEST_F(ErrorTest, ForeignExceptionRestoresTheContextAndDropsItems) {
    const auto throw_foreign = [] { throw std::logic_error("foreign"); };
    const Item outside(errors_, "outside");
    const auto raise_over = [&](std::function<void()> in_body, std::function<void()> in_item,
                                std::function<void()> in_handler) {
        return [=, this] {
            try_catch(errors_, {[&] {
                                    const Item older(errors_, "older");
                                    const Item item(errors_, "item", in_item);
                                    if (in_body) in_body();
                                    ut_error(errors_, UT_ERR_FATAL);
                                },
                                [&](ut_message_code, const char*, va_list) {
                                    if (in_handler) in_handler();
                                    return 1;
                                }});
        };
    };
    struct Case {
        const char* thrown_by;
        std::function<void()> run;
        std::vector<std::string> events;
    };
    const Case cases[] = {
        {"body", raise_over(throw_foreign, {}, {}), {}},
        {"item", raise_over({}, throw_foreign, {}), {"item"}},
        {"handler", raise_over({}, {}, throw_foreign), {}},
    };
    for (const Case& row : cases) {
        SCOPED_TRACE(row.thrown_by);
        events.clear();
        EXPECT_THROW(row.run(), std::logic_error);
        EXPECT_EQ(events, row.events);
        EXPECT_EQ(errors_->cleanup, reinterpret_cast<ut_cleanup_link>(&outside.item));
        EXPECT_EQ(errors_->frame, nullptr);
        EXPECT_EQ(errors_->unwind_target, nullptr);
        EXPECT_THROW(try_catch(errors_, {row.run, answer("outer", 1)}), std::logic_error);
        EXPECT_EQ(errors_->frame, nullptr);
    }
    ut_unlink_cleanup(errors_, 0);
}

TEST_F(ErrorTest, ItemThatThrowsUnderAMarkLeavesNoTarget) {
    ut_cleanup_mark mark;
    ut_prevent_further_cleanup_fcn(errors_, &mark);
    const Item item(errors_, "item", [] { throw std::logic_error("foreign"); });
    EXPECT_THROW(ut_cleanup_protected_items(errors_), std::logic_error);
    EXPECT_EQ(errors_->unwind_target, nullptr);
    ut_allow_further_cleanup_fcn(errors_, &mark);
}

TEST_F(ErrorTest, ErrorOfAnotherContextPassesFrames) {
    Contexts other;
    const Item outside(errors_, "outside");
    const auto handler = answer("not asked", 1);
    EXPECT_EQ(try_catch(&other.errors, {[&] {
                                            const Item outer(&other.errors, "item of the other");
                                            try_catch(errors_,
                                                      {[&] {
                                                           const Item dropped(errors_, "dropped");
                                                           ut_error(&other.errors, UT_ERR_FATAL);
                                                       },
                                                       handler});
                                        },
                                        answer("ask other", 1)}),
              UT_ERR_FATAL);
    EXPECT_THAT(events, ElementsAre("ask other", "item of the other"));
    EXPECT_EQ(errors_->cleanup, reinterpret_cast<ut_cleanup_link>(&outside.item));
    EXPECT_EQ(errors_->frame, nullptr);
    ut_unlink_cleanup(errors_, 0);
}

// --- generated nesting ---------------------------------------------------------------------------

// Opens frames, registers items and raises at random, from bodies, handlers and items. Whatever
// happens, an item is run exactly once when an error leaves its scope and never otherwise, and a
// frame leaves its context as it found it.
class Nesting {
  public:
    Nesting(Contexts& contexts, unsigned seed) : errors_(contexts.errors), random_(seed) {}

    void run() {
        ut_message_code code = 0;
        frame(0, /*accepts_all=*/true, code);
    }
    int raised = 0;
    int run_items = 0;

  private:
    class CountedItem : private qxut_test::NotCopied {
      public:
        explicit CountedItem(Nesting& nesting) : nesting_(nesting) {
            ut_link_cleanup_2(&nesting.errors_, &item_, &self_, &nesting, [](void* n, void* item) {
                ++static_cast<CountedItem*>(item)->runs_;
                ++static_cast<Nesting*>(n)->run_items;
                static_cast<Nesting*>(n)->maybe_raise_again();
            });
        }
        ~CountedItem() {
            const bool by_error = std::uncaught_exceptions() > exceptions_;
            EXPECT_EQ(runs_, by_error ? 1 : 0);
            if (!by_error) ut_unlink_cleanup(&nesting_.errors_, item_.next);
        }

      private:
        Nesting& nesting_;
        CountedItem* self_ = this;
        ut_cleanup_item_2 item_{};
        int runs_ = 0;
        int exceptions_ = std::uncaught_exceptions();
    };

    bool one_in(unsigned n) { return random_() % n == 0; }

    void maybe_raise(unsigned n) {
        if (!one_in(n) || raised > 40) return;
        ++raised;
        ut_error(&errors_, UT_ERR_FATAL);
    }

    // From an item: only if a frame is left to accept.
    void maybe_raise_again() {
        if (errors_.unwind_target->outer != nullptr) maybe_raise(6);
    }

    void body(int depth) {
        for (int step = 0; step < 3; ++step) {
            if (depth < 6 && one_in(2)) {
                const CountedItem item(*this);
                ut_message_code code = 0;
                if (one_in(3)) {
                    body(depth + 1);
                } else {
                    frame(depth + 1, one_in(3), code);
                }
            }
            maybe_raise(4);
        }
    }

    void frame(int depth, bool accepts_all, ut_message_code& code) {
        const ut_cleanup_link cleanup = errors_.cleanup;
        const ut_try_frame* const outer = errors_.frame;
        const ut_try_frame* const target = errors_.unwind_target;
        code = try_catch(&errors_, {[&] { body(depth); },
                                    [&](ut_message_code, const char*, va_list) {
                                        if (!accepts_all) maybe_raise(8);
                                        return accepts_all || one_in(3) ? 1 : 0;
                                    }});
        EXPECT_EQ(errors_.cleanup, cleanup);
        EXPECT_EQ(errors_.frame, outer);
        EXPECT_EQ(errors_.unwind_target, target);
    }

    _error_context& errors_;
    std::minstd_rand random_;
};

TEST(Error, GeneratedNestingRunsEveryItemOnce) {
    int raised = 0;
    int run_items = 0;
    for (unsigned seed = 1; seed <= 3000 && !testing::Test::HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        Contexts contexts;
        Nesting nesting(contexts, seed);
        nesting.run();
        raised += nesting.raised;
        run_items += nesting.run_items;
    }
    EXPECT_GT(raised, 3000);
    EXPECT_GT(run_items, 3000);
}

// --- nobody accepts ------------------------------------------------------------------------------

TEST_F(ErrorTest, UncaughtErrorIsPrintedThenItemsRunThenTheHandlerIsCalled) {
    ut_message_code uncaught = 0;
    ut_register_error_handler(
        errors_,
        [](void* data, const char* identifier, ut_message_code code) {
            *static_cast<ut_message_code*>(data) = code;
            note(identifier);
            throw std::runtime_error("left by the error handler");
        },
        &uncaught);
    const auto see_print = [&] { note(contexts_.printed.c_str()); };
    const Item first(errors_, "first");
    EXPECT_THROW(try_catch(errors_, {[&] {
                                         const Item second(errors_, "second", see_print);
                                         ut_error(errors_, UT_ERR_RETHROW, "nobody wants me");
                                     },
                                     answer("ask", 0)}),
                 std::runtime_error);
    EXPECT_EQ(uncaught, UT_ERR_RETHROW);
    EXPECT_THAT(events,
                ElementsAre("ask", "second", "nobody wants me\n", "first", "VELUMA:err_rethrow"));
    // Everything has been run, so nothing is linked again.
    EXPECT_EQ(errors_->cleanup, 0u);
    EXPECT_EQ(errors_->frame, nullptr);
}

// The host throws out of an uncaught error and goes on, somewhere between raise and outermost
// frame. Whatever the place, items are not run again.
TEST_F(ErrorTest, HostMayOutliveAnUncaughtError) {
    const auto fail = [&] {
        try {
            ut_error(errors_, UT_ERR_FATAL);
        } catch (const std::runtime_error&) {
            note("outlived");
        }
    };
    for (const std::string place : {"body", "handler", "item"}) {
        SCOPED_TRACE(place);
        events.clear();
        const Item outside(errors_, "outside");
        const auto body = [&] {
            const Item item(errors_, "item", place == "item" ? fail : std::function<void()>());
            if (place == "body") return fail();
            ut_error(errors_, UT_ERR_RETHROW, "");
        };
        const auto handler = [&](ut_message_code, const char*, va_list) {
            note("ask");
            if (place == "handler") fail();
            return place == "body" ? 0 : 1;
        };
        EXPECT_EQ(try_catch(errors_, {body, handler}) == UT_ERR_RETHROW, place != "body");
        EXPECT_THAT(events, ElementsAre("ask", "item", "outside", "outlived"));
        EXPECT_EQ(errors_->cleanup, 0u);
    }
}

TEST(ErrorDeathTest, ErrorHandlerThatReturnsIsFatal) {
    const auto raise = [](ut_error_handler handler) {
        Contexts contexts;
        ut_register_error_handler(&contexts.errors, handler, nullptr);
        ut_error(&contexts.errors, UT_ERR_FATAL);
    };
    EXPECT_DEATH(raise([](void*, const char*, ut_message_code) {}),
                 "Fatal error ---\nThe error handler returned");
    EXPECT_DEATH(raise(nullptr), "Fatal error ---\nVELUMA:err_fatal");
}

}  // namespace
