// results.hpp - a match that was found, and the way to the next one.
//
//     std::unique_ptr<RE_Results> found{tree.match(text, length, 0)};
//     for (bool more = found != nullptr; more; more = found->next()) {
//         use(found->start(), found->end(), found->tokens());
//     }
#ifndef QXUT_REGEXP_RESULTS_HPP
#define QXUT_REGEXP_RESULTS_HPP

#include <cstddef>

#include <qxut/regexp/search.hpp>
#include <qxut/regexp/tokens.hpp>

class RE_Tree;

class QXUT_API RE_Results : public RE_Memory {
  public:
    ~RE_Results();
    RE_Results(const RE_Results&) = delete;
    RE_Results& operator=(const RE_Results&) = delete;

    // The extent of the match, as tokens().get(0) has it.
    size_t start() const noexcept;
    size_t end() const noexcept;
    const RE_Token_Stack& tokens() const noexcept;

    // The text of a token, 0 being the whole match, in UTF-16; not NUL-terminated. Null, and 0, for
    // a token that is unset or does not exist. It points into the searched text; of a narrow text,
    // into a copy that the results own.
    const char16_t* text(size_t token, size_t* length) const noexcept;

    // Goes to the next match in the same text, which must still be there with the tree and with
    // what else the search was given: its seek table, its cancel flag. After an
    // empty match a non-empty one is tried at the same place, then the search goes on a character
    // further; an empty match may follow a non-empty one directly. False: there is none, and the
    // results stay as they were. Throws what RE_Tree::match throws; limits count over the whole
    // iteration.
    bool next();

    struct Search;  // the tree, the text and the extents in UTF-16 units

  private:
    friend class RE_Tree;
    explicit RE_Results(Search* search) noexcept : search_(search) {}
    Search* search_;
};

#endif
