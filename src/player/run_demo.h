// The whole run, from the title line to the exit code.
#pragma once

/// Runs the program. Prints to standard output; see the sources for the order of everything.
/// @return the exit code: 0 after a normal end, 1 after a fatal start-up failure. A closed window
///         ends the process with exit(0) instead of returning.
int RunDemo(int argc, char** argv);
