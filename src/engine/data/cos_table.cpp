// SPDX-License-Identifier: MIT
#include "engine/data/cos_table.h"

#include <cmath>

float CosTable[kCosTableSize + 1];
float RaisedCosTable[kCosTableSize + 1];

void BuildCosTable()
{
    for (int32_t k = 0; k < kCosTableSize; ++k)
    {
        // Double until the last step, and pi short as it is: the last bit of an entry shows it.
        double angle = static_cast<double>(static_cast<float>(k)) * 3.14159265 * 0.00048828125;
        CosTable[k] = static_cast<float>(cos(angle));
        RaisedCosTable[k] = CosTable[k] + 1.0f;
    }
}
