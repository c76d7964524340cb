// SPDX-License-Identifier: MIT
#include "engine/data/limits.h"

#include <algorithm>

bool TakeFromBudget(PieceBudget* budget, uint64_t bytes, FaultList* faults)
{
    if (bytes > budget->bytesLeft)
    {
        AddFault(faults, "a package of this size may not take so much memory");
        return false;
    }
    budget->bytesLeft -= bytes;
    budget->leastLeft = std::min(budget->leastLeft, budget->bytesLeft);
    return true;
}
