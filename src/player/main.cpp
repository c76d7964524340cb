// SPDX-License-Identifier: MIT
#include "player/run_demo.h"

int main(int argc, char** argv)
{
    return RunDemo(argc, argv);
}
