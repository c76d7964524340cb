// SPDX-License-Identifier: MIT

// Sines that are the same on every machine.
//
// The C library picks its sin, cos and tan after the processor: with fused multiply-add the last
// bit of a double may be another one, and where a pixel is cut to a whole number that bit shows. A
// program that is linked with --wrap for these functions can turn to routines that are one for all
// processors: the library's long double ones, which compute in the old floating-point unit, rounded
// to the type that was asked for.
#pragma once

/// Until it is called with true, the machine's own functions answer.
void UseSteadyLibm(bool on);
