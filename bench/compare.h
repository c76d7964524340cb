// SPDX-License-Identifier: MIT

// Forms of one computation, measured in turns in one thread. Ratios hold from machine to machine
// and on a busy one; times do not.
#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

inline double Microseconds()
{
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) * 1e6 + static_cast<double>(now.tv_nsec) * 1e-3;
}

struct Form
{
    const char* name;                   // of its counter, which is in microseconds
    std::function<void()> run;          // empty for a form that is not there
    std::function<void()> prepare = {}; // runs before it, unmeasured
};

/// Runs all forms in turns, and counts the shortest time of each.
inline void CompareForms(benchmark::State& state, const std::vector<Form>& forms)
{
    std::vector<double> shortest(forms.size(), 1e30);
    while (state.KeepRunning())
    {
        for (size_t i = 0; i < forms.size(); ++i)
        {
            if (forms[i].prepare)
            {
                forms[i].prepare();
            }
            if (forms[i].run)
            {
                const double start = Microseconds();
                forms[i].run();
                shortest[i] = std::min(shortest[i], Microseconds() - start);
            }
        }
    }
    for (size_t i = 0; i < forms.size(); ++i)
    {
        if (forms[i].run)
        {
            state.counters[forms[i].name] = shortest[i];
        }
    }
}
