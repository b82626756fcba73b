// SPDX-License-Identifier: Apache-2.0
// One held-output pointer per thread; releasing goes through the ordinary printers.
#include "cli/HeldOutput.h"

#include "cli/OutputFile.h"
#include "cli/StatusLine.h"

namespace qb::cli {

namespace {

thread_local HeldOutput* tHeld = nullptr;

}  // namespace

HeldOutput::Scope::Scope(HeldOutput& held) : previous_(tHeld) {
    tHeld = &held;
}

HeldOutput::Scope::~Scope() {
    tHeld = previous_;
}

HeldOutput* HeldOutput::current() {
    return tHeld;
}

bool HeldOutput::release() {
    bool outputOK = true;
    for (const auto& item : items_) {
        switch (item.kind) {
            case Kind::ErrorLine:
                printErrorLine(item.text);
                break;
            case Kind::OutputLine:
                if (outputOK) printOutputLine(item.text);
                break;
            case Kind::OutputText:
                if (outputOK && !writeStandardOutput(item.text)) {
                    outputOK = false;
                    reportStandardOutputFailure();
                }
                break;
        }
    }
    items_.clear();
    return outputOK;
}

}  // namespace qb::cli
