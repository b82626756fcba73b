// SPDX-License-Identifier: Apache-2.0
// What one input prints, held back while a worker thread reads and exports it, so that the
// lines of several inputs reach standard output and standard error in input order.
#pragma once

#include <string>
#include <vector>

namespace qb::cli {

class HeldOutput {
  public:
    enum class Kind { ErrorLine, OutputLine, OutputText };

    // While a Scope lives, what its thread prints is held in `held` instead of written.
    class Scope {
      public:
        explicit Scope(HeldOutput& held);
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

      private:
        HeldOutput* previous_;
    };

    // Where this thread's output goes now; null when it is written at once.
    static HeldOutput* current();

    void add(Kind kind, std::string text) { items_.push_back({kind, std::move(text)}); }
    // Writes what was held, in the order it was printed. False when standard output failed
    // (reported once); the rest of standard output is then dropped, standard error not.
    bool release();

  private:
    struct Item {
        Kind kind;
        std::string text;
    };
    std::vector<Item> items_;
};

}  // namespace qb::cli
