// SPDX-License-Identifier: Apache-2.0
// The read report: warnings a reader records and the work budgets of one input.
#include "platform/ReadReport.h"

namespace qb {

ReadReport::ReadReport(uint64_t inputSize)
    : inputSize_(inputSize),
      propertyBudget_(inputSize / kInputBytesPerPropertyWork + kPropertyWorkFloor),
      materialisedBudget_(inputSize * kMaterialisedPerByte + kMaterialisedFloor) {}

void ReadReport::warn(std::string text, std::optional<uint64_t> offset) {
    std::lock_guard lock(mutex_);
    partial_ = true;
    if (warnings_.size() >= kMaxWarnings) {
        ++dropped_;
        return;
    }
    warnings_.push_back({std::move(text), offset});
}

std::vector<ReadReport::Warning> ReadReport::warnings() const {
    std::lock_guard lock(mutex_);
    return warnings_;
}

uint64_t ReadReport::droppedWarnings() const {
    std::lock_guard lock(mutex_);
    return dropped_;
}

bool ReadReport::partial() const {
    std::lock_guard lock(mutex_);
    return partial_;
}

bool ReadReport::spendPropertyWork(uint64_t n, uint64_t offset) {
    {
        std::lock_guard lock(mutex_);
        if (propertyWork_ + n <= propertyBudget_) {
            propertyWork_ += n;
            return true;
        }
        if (propertyBudgetWarned_) return false;
        propertyBudgetWarned_ = true;
    }
    warn("property lists read on over the same bytes too often; the rest is not read", offset);
    return false;
}

uint64_t ReadReport::propertyWork() const {
    std::lock_guard lock(mutex_);
    return propertyWork_;
}

bool ReadReport::spendMaterialised(uint64_t n) {
    std::lock_guard lock(mutex_);
    if (n > materialisedBudget_ - materialised_) return false;
    materialised_ += n;
    return true;
}

}  // namespace qb
