// analysis.cpp - chooses how the starts of a program's matches are searched; see analysis.h.
//
// Each way is judged by how many places of an average text it would stop at (frequency.h); the one
// that stops least often is taken. Stopping in vain costs an attempt of the matcher, about as much
// as a hundred units of wide search.
//
// Tested by tests/regexp/analysis_test.cpp and start_cursor_test.cpp.
#include "regexp/analysis.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>

#include "regexp/failure.h"
#include "regexp/frequency.h"
#include "regexp/landmarks.h"

namespace qxut::regexp {
namespace {

// Of a text's units these begin lines.
constexpr float kLines = 0.017F;
// Where more of a text's characters than this, blanks among them, may stand before a landmark, it
// tells little about where a match starts.
constexpr float kNearlyAll = 0.85F;
// How far back a match may start before a landmark, about, when nothing limits it.
constexpr float kUnlimitedWindow = 10;
// Below this a search for starts is not worth its call.
constexpr float kWorthwhile = 0.97F;
// Two equal units stand side by side about so often.
constexpr float kDoubled = 0.04F;

bool is_plain(const Vector<UnitVariants>& units) {
    return std::all_of(units.begin(), units.end(),
                       [](const UnitVariants& u) { return u.is_one(); });
}

// Fills in what the searches need, and the estimate.
void complete(Landmark& landmark) {
    if (landmark.is_set) {
        landmark.unit_set = units_of(landmark.set);
        landmark.frequency = frequency(landmark.set);
        return;
    }
    const Vector<UnitVariants>& units = landmark.units;
    const auto [rarest, second] = rare_places(units.data(), units.size());
    landmark.frequency = frequency(units[rarest]);
    if (second != rarest) landmark.frequency *= frequency(units[second]);
    landmark.literal = {units.data(), units.size(), {rarest, second}, nullptr};
    if (!is_plain(units)) return;
    landmark.plain.reserve(units.size());
    for (const UnitVariants& unit : units) landmark.plain.push_back(unit.units[0]);
    landmark.literal.plain = landmark.plain.data();
}

class Chooser {
  public:
    Chooser(const Program& program, StartSearch& starts)
        : program_(program), starts_(starts), distances_(distances(program, arena_)) {}

    void run() {
        starts_.min_length = shortest_match();
        if (starts_.min_length == Distance::kUnreached) {
            starts_.way = StartSearch::Way::nowhere;
            return;
        }
        read_anchors();
        if (starts_.min_length != 0) {
            if (first_set(program_, starts_.first, arena_)) {
                starts_.has_first = true;
                if (starts_.first.is_empty()) {
                    starts_.way = StartSearch::Way::nowhere;
                    return;
                }
                starts_.first_units = units_of(starts_.first);
            }
            read_run();
            landmarks_ = find_landmarks(program_, distances_, arena_);
            for (FoundLandmark& found : landmarks_) {
                Landmark& landmark = found.landmark;
                if (starts_.begins_line && landmark.is_at_start() && !landmark.is_set &&
                    landmark.behind == 0) {
                    landmark.units.insert(landmark.units.begin(), {{u'\n', u'\n', u'\n', u'\n'}});
                    landmark.behind = 1;
                    landmark.has_newline = true;
                }
                complete(landmark);
            }
        }
        choose();
    }

  private:
    uint32_t shortest_match() const;
    void read_anchors();
    void read_run();
    void read_doubled();
    void read_whole();
    void read_words();
    void choose();
    void consider_landmark(size_t index);
    void require();

    const Program& program_;
    StartSearch& starts_;
    Arena arena_;
    Working<Distance> distances_;
    Working<FoundLandmark> landmarks_{arena_};
    float least_ = 1;
    size_t taken_ = SIZE_MAX;
};

uint32_t Chooser::shortest_match() const {
    uint32_t shortest = Distance::kUnreached;
    for (uint32_t pc = 0; pc < program_.code.size(); ++pc) {
        if (program_.code[pc].op == Op::match) shortest = std::min(shortest, distances_[pc].min);
    }
    return shortest;
}

// Tests that come before anything else.
void Chooser::read_anchors() {
    uint32_t pc = program_.first;
    for (;; pc = program_.code[pc].next) {
        const Op op = program_.code[pc].op;
        if (op == Op::start_text) starts_.begins_text = true;
        if (op == Op::start_line) starts_.begins_line = true;
        const bool is_test = op == Op::start_text || op == Op::start_line || op == Op::start_word ||
                             op == Op::end_word || op == Op::token_start;
        if (!is_test || program_.code[pc].next == kNoWay) return;
    }
}

// A loop that begins every match can be left, from any start in its run, at places where it could
// be left from the run's first one too, and what follows does not know where the match started: so
// no start in the run leads anywhere when the first did not. A maximum that cuts the run off makes
// later starts reach further, and a match of nothing may be refused at one start and not at
// another.
void Chooser::read_run() {
    uint32_t pc = program_.first;
    while (program_.code[pc].op == Op::token_start) pc = program_.code[pc].next;
    const Instruction& in = program_.code[pc];
    const bool is_loop =
        in.op == Op::loop_greedy || in.op == Op::loop_lazy || in.op == Op::loop_possessive;
    if (!is_loop || !program_.records_failures || in.next == kNoWay) return;
    if (!consumed_before(program_, distances_, pc + 1, starts_.run)) return;
    const Loop& loop = program_.loops[in.arg];
    // The run is the loop's own set, not one widened to more than it takes.
    if (loop.what == Op::set) starts_.run = program_.sets[loop.arg];
    starts_.begins_with_run = true;
    starts_.min_run = loop.min;
    starts_.max_run = loop.max;
}

// A character in a token, then the token again.
void Chooser::read_doubled() {
    const Instruction* in = &program_.code[program_.first];
    if (in->op != Op::token_start || in->next == kNoWay) return;
    const uint32_t token = in->arg;
    in = &program_.code[in->next];
    if (in->op > Op::set || in->next == kNoWay) return;
    in = &program_.code[in->next];
    if (in->op != Op::token_end || in->next == kNoWay) return;
    in = &program_.code[in->next];
    if (in->op != Op::reference) return;
    const Reference& reference = program_.references[in->arg];
    if (reference.count != 1 || program_.tokens[reference.first] != token) return;
    if (kDoubled >= least_) return;
    least_ = kDoubled;
    starts_.way = StartSearch::Way::doubled;
}

// One instruction and nothing else; a pattern may have tokens without instructions, which have to
// be told apart as unset.
void Chooser::read_whole() {
    if (program_.token_count != 0) return;
    const Instruction& in = program_.code[program_.first];
    if (in.next == kNoWay || program_.code[in.next].op != Op::match) return;
    if (in.op == Op::loop_greedy || in.op == Op::loop_possessive) {
        if (starts_.begins_with_run && starts_.max_run == kNoLimit && starts_.min_run != 0)
            starts_.whole = StartSearch::Whole::run;
        starts_.is_run_of_units = starts_.has_first && starts_.first == starts_.run &&
                                  are_whole_units(starts_.first_units, starts_.run);
        return;
    }
    const Landmark& landmark = starts_.landmark;
    if (starts_.way != StartSearch::Way::landmark || !landmark.is_at_start() || landmark.is_set)
        return;
    const bool is_all =
        in.op == Op::character || in.op == Op::either ||
        (in.op == Op::string && program_.strings[in.arg].length == landmark.units.size()) ||
        (in.op == Op::folded_string &&
         program_.folded_strings[in.arg].length == landmark.units.size());
    const auto is_half = [](const UnitVariants& variants) {
        return (variants.units[0] & 0xF800) == 0xD800;
    };
    if (is_all && std::none_of(landmark.units.begin(), landmark.units.end(), is_half))
        starts_.whole = StartSearch::Whole::landmark;
}

void Chooser::consider_landmark(size_t index) {
    FoundLandmark& found = landmarks_[index];
    Landmark& landmark = found.landmark;
    const bool is_fixed = landmark.min_before == landmark.max_before;
    if (landmark.behind != 0 && !is_fixed) return;
    if (landmark.max_before != 0 &&
        !consumed_before(program_, distances_, found.at, landmark.before))
        return;
    float places = landmark.frequency;
    const bool keeps_line = starts_.begins_line && !landmark.before.contains(U'\n');
    const bool follows_run = starts_.begins_with_run && landmark.before == starts_.run;
    if (!is_fixed && !keeps_line && !follows_run) {
        if (landmark.max_before == kNoLimit && landmark.before.contains(U' ') &&
            frequency(landmark.before) > kNearlyAll)
            return;
        const float window = std::min(kUnlimitedWindow, static_cast<float>(landmark.max_before));
        places *= std::max(1.0F, window * frequency(starts_.first));
    }
    if (places >= least_) return;
    least_ = places;
    taken_ = index;
    starts_.way = StartSearch::Way::landmark;
}

void Chooser::choose() {
    using Way = StartSearch::Way;
    if (starts_.begins_text) {
        starts_.way = Way::text_start;
    } else {
        least_ = kWorthwhile;
        if (starts_.begins_line) {
            least_ = kLines;
            starts_.way = Way::line_start;
        }
        if (starts_.has_first && frequency(starts_.first) < least_) {
            least_ = frequency(starts_.first);
            starts_.way = Way::first_set;
        }
        for (size_t i = 0; i < landmarks_.size(); ++i) consider_landmark(i);
        read_words();
        read_doubled();
    }
    if (starts_.way == Way::landmark) starts_.landmark = std::move(landmarks_[taken_].landmark);
    require();
    read_whole();
}

// Another literal that is rarer than what is stopped at.
void Chooser::require() {
    FoundLandmark* rarest = nullptr;
    float least = least_;
    for (size_t i = 0; i < landmarks_.size(); ++i) {
        const Landmark& landmark = landmarks_[i].landmark;
        if (starts_.way == StartSearch::Way::landmark && i == taken_) continue;
        if (landmark.behind != 0 || landmark.frequency >= least) continue;
        least = landmark.frequency;
        rarest = &landmarks_[i];
    }
    if (rarest != nullptr) starts_.required = std::move(rarest->landmark);
}

// --- several literals -------------------------------------------------------------------------

constexpr size_t kMostWords = 64;
constexpr size_t kLongestWord = 8;

bool leads_on(const Instruction& in) {
    return in.next != kNoWay &&
           (in.op == Op::token_start || in.op == Op::token_end || in.op == Op::start_word ||
            in.op == Op::end_word || in.op == Op::atomic || in.op == Op::region_end);
}
bool is_choice(const Instruction& in) { return in.op == Op::choice || in.op == Op::split; }

// A literal that a way from the beginning begins with: a run of the units collected.
struct FoundWord {
    uint32_t begin;
    uint32_t length;
};

// The literals that the ways from the beginning begin with; false when there are too many, or one
// begins with something else, or there is one way only.
bool collect_words(const Program& program, Working<UnitVariants>& units,
                   Working<FoundWord>& words) {
    uint32_t begin = program.first;
    while (leads_on(program.code[begin])) begin = program.code[begin].next;
    if (!is_choice(program.code[begin])) return false;
    constexpr size_t kUsualWords = 8;
    Working<uint32_t> ahead(units.get_allocator());
    ahead.reserve(kUsualWords);
    words.reserve(kUsualWords);
    units.reserve(kUsualWords * kLongestWord);
    ahead.push_back(begin);
    size_t steps = 0;
    while (!ahead.empty()) {
        uint32_t pc = ahead.back();
        ahead.pop_back();
        const size_t word = units.size();
        for (;;) {
            if (++steps > 8 * kMostWords) return false;
            const Instruction& in = program.code[pc];
            bool ends = false;
            const size_t length = units.size() - word;
            if (length < kLongestWord &&
                append_literal(program, in, kLongestWord - length, units, ends)) {
                if (ends || in.next == kNoWay) break;
                pc = in.next;
                continue;
            }
            if (length == 0 && is_choice(in)) {
                const Choice* const choice =
                    in.op == Op::choice ? &program.choices[in.arg] : nullptr;
                const uint32_t count = choice != nullptr ? choice->way_count : 2;
                if (ahead.size() + words.size() + count > kMostWords) return false;
                for (uint32_t i = 0; i < count; ++i) {
                    const uint32_t way = choice != nullptr ? program.targets[choice->ways + i]
                                         : i == 0          ? in.next
                                                           : in.alt;
                    if (way != kNoWay) ahead.push_back(way);
                }
                break;
            }
            if (!leads_on(in)) {
                if (length == 0) return false;
                break;
            }
            pc = in.next;
        }
        if (units.size() != word) {
            words.push_back(
                {static_cast<uint32_t>(word), static_cast<uint32_t>(units.size() - word)});
        }
    }
    return !words.empty();
}

}  // namespace

void Chooser::read_words() {
    if (starts_.min_length == 0) return;
    Working<UnitVariants> units(arena_);
    Working<FoundWord> words(arena_);
    if (!collect_words(program_, units, words) || words.size() < 2) return;
    WordSearch& search = starts_.words;
    search.shortest = SIZE_MAX;
    for (const FoundWord& word : words)
        search.shortest = std::min<size_t>(search.shortest, word.length);
    search.width = std::min(search.shortest, WordSearch::kWidest);
    float places = 0;
    for (const FoundWord& word : words) {
        float stops = 1;
        for (uint32_t i = 0; i < std::min(word.length, 4U); ++i)
            stops *= frequency(units[word.begin + i]);
        places += stops;
    }
    if (places >= least_) return;

    // Words alike in their first units share a bucket: its fingerprint stays narrow.
    std::sort(words.begin(), words.end(), [&](const FoundWord& a, const FoundWord& b) {
        const UnitVariants* const first = units.data() + a.begin;
        const UnitVariants* const second = units.data() + b.begin;
        return std::lexicographical_compare(
            first, first + a.length, second, second + b.length,
            [](const UnitVariants& u, const UnitVariants& v) { return u.units[0] < v.units[0]; });
    });
    starts_.word_units.assign(units.begin(), units.end());
    starts_.word_list.reserve(words.size());
    for (size_t i = 0; i < words.size(); ++i) {
        const UnitVariants* const word = starts_.word_units.data() + words[i].begin;
        starts_.word_list.push_back({word, words[i].length});
        const size_t bucket = i * WordSearch::kBuckets / words.size();
        for (size_t b = bucket; b < WordSearch::kBuckets; ++b) search.bucket_end[b] = i + 1;
        const auto bit = static_cast<uint8_t>(1U << bucket);
        for (size_t at = 0; at < search.width; ++at) {
            const char16_t(&units_here)[4] = word[at].units;
            for (size_t v = 0; v < 4; ++v) {
                const char16_t unit = units_here[v];
                if (v != 0 && unit == units_here[v - 1]) continue;  // repeated to fill
                search.low_half[at][unit & 15] |= bit;
                search.high_half[at][unit >> 4 & 15] |= bit;
            }
        }
    }
    search.words = starts_.word_list.data();
    least_ = places;
    starts_.way = StartSearch::Way::words;
}

StartSearch* analyze(const Program& program) {
    static std::atomic<uint64_t> last_identity{0};
    std::unique_ptr<StartSearch> starts(require(new StartSearch));
    starts->identity = last_identity.fetch_add(1, std::memory_order_relaxed) + 1;
    if (program.first == kNoWay) {
        starts->way = StartSearch::Way::nowhere;
    } else {
        Chooser(program, *starts).run();
    }
    return starts.release();
}

}  // namespace qxut::regexp
