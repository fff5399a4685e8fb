#include "testhost/model/ToolboxFailures.h"

#include "testhost/toolbox/Control.h"

#include <string>
#include <utility>

namespace {
struct Failure {
    long (*arm)(long count); ///< 0 stops it; answers what was left
    const char* what;
    long asked = 0;
    long left = 0; ///< while no plug-in is entered
};

Failure failures[] = {{ToolboxFailAllocation, "Allocation"}, {ToolboxFailFile, "File call"}};
bool entered = false;
long allocationsBefore = 0; // the plug-in was entered
long allocations = 0;

void Arm(Failure& failure) {
    if (failure.left != 0) {
        failure.arm(failure.left);
    }
}

void Disarm(Failure& failure) {
    if (failure.left != 0) {
        failure.left = failure.arm(0);
    }
}
} // namespace

bool ToolboxFailures::Ask(Kind kind, long count) {
    Failure& failure = failures[static_cast<size_t>(kind)];
    const bool isFree = failure.left == 0;
    if (isFree) {
        failure.asked = failure.left = count;
    }
    return isFree;
}

bool ToolboxFailures::SetEntered(bool isEntered) {
    if (std::exchange(entered, isEntered) == isEntered) {
        return isEntered;
    }
    if (isEntered) {
        allocationsBefore = ToolboxAllocations();
    } else {
        allocations += ToolboxAllocations() - allocationsBefore;
    }
    for (Failure& failure : failures) {
        isEntered ? Arm(failure) : Disarm(failure);
    }
    return !isEntered;
}

long ToolboxFailures::TakeAllocations() {
    return std::exchange(allocations, 0);
}

void ToolboxFailures::ReportUnused(const Reporter& report) {
    for (Failure& failure : failures) {
        if (const long left = std::exchange(failure.left, 0); left != 0) {
            report(std::string(failure.what) + " " + std::to_string(failure.asked) +
                   " was to fail, but only " + std::to_string(failure.asked - left) + " came.");
        }
    }
}
