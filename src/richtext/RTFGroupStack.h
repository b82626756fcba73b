// SPDX-License-Identifier: Apache-2.0
// The group bookkeeping both RTF readers share: the states saved at each "{" (to a bounded
// depth), the marks of a group's first token ("{\*\dest" opens an optional destination) and
// the substitute bytes a \uN still has to skip.
#pragma once

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace qb {

template <class State>
class RTFGroupStack {
  public:
    // Deeper groups are skipped whole, so hostile nesting costs no memory.
    static constexpr size_t kMaxDepth = 512;

    // "{": saves `current`; false when the group is too deep to follow (skip it).
    bool open(const State& current) {
        pendingSkip_ = 0;
        if (saved_.size() >= kMaxDepth) return false;
        saved_.push_back(current);
        justOpened_ = true;
        starred_ = false;
        return true;
    }

    // "}": `current` goes back to the state saved at the group's "{", and the closing group's
    // state is returned; nothing at the top level.
    std::optional<State> close(State& current) {
        pendingSkip_ = 0;
        clearMarks();
        if (saved_.empty()) return std::nullopt;
        State closing = std::move(current);
        current = std::move(saved_.back());
        saved_.pop_back();
        return closing;
    }

    // Undoes the "{" of the group just opened (the caller then skips its content).
    void drop(State& current) {
        current = std::move(saved_.back());
        saved_.pop_back();
    }

    size_t depth() const { return saved_.size(); }
    bool empty() const { return saved_.empty(); }

    // "\*": the next word, if it is the group's first, names an optional destination.
    void star() { starred_ = true; }
    // Any token but a control word ends the marks of the group's start.
    void clearMarks() { justOpened_ = starred_ = false; }

    enum class WordPlace {
        Ignored,       // a word after "\*" that does not start its group
        First,         // the group's first word
        FirstStarred,  // the group's first word, after "\*"
        Inside,
    };
    // Where a control word stands; clears the marks.
    WordPlace placeWord() {
        if (!justOpened_ && starred_) {
            starred_ = false;
            return WordPlace::Ignored;
        }
        if (!justOpened_) return WordPlace::Inside;
        const bool starred = starred_;
        clearMarks();
        return starred ? WordPlace::FirstStarred : WordPlace::First;
    }

    // \uN's substitute: the next `n` characters are skipped.
    void expectSubstitute(size_t n) { pendingSkip_ = n; }
    void cancelSubstitute() { pendingSkip_ = 0; }
    // How many of `n` characters are substitute, and so skipped.
    size_t skipSubstitute(size_t n) {
        const size_t skipped = n < pendingSkip_ ? n : pendingSkip_;
        pendingSkip_ -= skipped;
        return skipped;
    }

  private:
    std::vector<State> saved_;
    bool justOpened_ = false;
    bool starred_ = false;
    size_t pendingSkip_ = 0;
};

}  // namespace qb
