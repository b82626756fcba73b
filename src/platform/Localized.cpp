// SPDX-License-Identifier: Apache-2.0
// One process-wide table behind a mutex; a missing or empty translation falls back to the key.
#include "platform/Localized.h"

#include <mutex>

namespace qb {

namespace {

std::mutex& tableMutex() {
    static std::mutex m;
    return m;
}

std::map<std::string, std::string>& table() {
    static std::map<std::string, std::string> t;
    return t;
}

}  // namespace

std::string localized(const std::string& key) {
    std::lock_guard lock(tableMutex());
    auto it = table().find(key);
    return it == table().end() || it->second.empty() ? key : it->second;
}

void setLocalizedTable(std::map<std::string, std::string> t) {
    std::lock_guard lock(tableMutex());
    table() = std::move(t);
}

}  // namespace qb
