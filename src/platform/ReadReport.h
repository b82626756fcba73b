// SPDX-License-Identifier: Apache-2.0
// Filled by the readers (TNEF, property lists, compound-file streams) and read by the front
// door and the command line to report warnings and partial reads.
#pragma once

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "platform/Export.h"

namespace qb {

/// What reading one input left out, and the budgets that keep a small crafted input from
/// costing more than a small multiple of its size. A message and every message nested in it
/// share one report, so the budgets hold for the input as a whole.
class QB_API ReadReport {
  public:
    struct Warning {
        std::string text;
        /// Where in the input (or in the stream the reader was walking) it happened.
        std::optional<uint64_t> offset;
    };

    /// Property headers and values a reader may decode before it stops, one per this many
    /// bytes of input: a well-formed stream decodes each once, and each takes at least four
    /// bytes, so this leaves twice what any real input needs.
    static constexpr uint64_t kInputBytesPerPropertyWork = 2;
    static constexpr uint64_t kPropertyWorkFloor = 1 << 16;
    /// Bytes of compound-file streams that may be copied out, per byte of input.
    static constexpr uint64_t kMaterialisedPerByte = 4;
    static constexpr uint64_t kMaterialisedFloor = 1 << 20;
    /// Warnings kept; later ones are only counted.
    static constexpr size_t kMaxWarnings = 100;

    explicit ReadReport(uint64_t inputSize);
    /// The size of the input the report is about.
    uint64_t inputSize() const { return inputSize_; }

    /// Records that something was not read; the input then counts as read only in part.
    void warn(std::string text, std::optional<uint64_t> offset = std::nullopt);
    std::vector<Warning> warnings() const;
    /// Warnings beyond kMaxWarnings that were counted but not kept.
    uint64_t droppedWarnings() const;
    bool partial() const;

    /// Spends `n` units of property-list work; false (and a warning, once) when the input's
    /// budget is used up, and from then on.
    bool spendPropertyWork(uint64_t n, uint64_t offset);
    uint64_t propertyWork() const;
    /// Spends `n` bytes of copied stream data; false when that would pass the budget.
    bool spendMaterialised(uint64_t n);

  private:
    const uint64_t inputSize_;
    mutable std::mutex mutex_;
    std::vector<Warning> warnings_;
    uint64_t dropped_ = 0;
    bool partial_ = false;
    uint64_t propertyWork_ = 0, propertyBudget_;
    bool propertyBudgetWarned_ = false;
    uint64_t materialised_ = 0, materialisedBudget_;
};

}  // namespace qb
