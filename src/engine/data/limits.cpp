#include "engine/data/limits.h"

bool TakeFromBudget(PieceBudget* budget, uint64_t bytes, FaultList* faults)
{
    if (bytes > budget->bytesLeft)
    {
        AddFault(faults, "a piece of more than %llu MiB of inflated data and pixels is not read",
                 static_cast<unsigned long long>(kPieceBytes >> 20));
        return false;
    }
    budget->bytesLeft -= bytes;
    return true;
}
