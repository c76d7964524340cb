// SPDX-License-Identifier: MIT

// GetObject, which turns every reference of every frame into a record, and the filling of a table.

#include <benchmark/benchmark.h>

#include "engine/data/object_table.h"

static ObjectTable* CreateFullTable()
{
    ObjectTable* table = CreateObjectTable(64);
    while (AllocateObject(table) != 0)
    {
    }
    return table;
}

/// Ids in an order that no prefetcher guesses; each leads to its record, one of whose words is
/// read.
static void BM_GetObject(benchmark::State& state)
{
    ObjectTable* table = CreateFullTable();
    for (uint32_t id = 1; id <= kObjectTableCapacity; ++id)
    {
        *GetRecord<uint32_t>(id, table) = id;
    }

    uint32_t id = 1;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(*GetRecord<uint32_t>(id, table));
        id = (id + 1234) % kObjectTableCapacity + 1;
    }
    state.SetItemsProcessed(state.iterations());
    FreeObjectTable(table);
}

/// The look-up alone, of ids within and outside the table.
static void BM_GetObjectPointer(benchmark::State& state)
{
    ObjectTable* table = CreateFullTable();
    const int32_t ids[] = {1, 4096, 0, -1, 17, 4097, 2048, 3};
    uint32_t i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(GetObject(ids[i % 8], table));
        i += 1;
    }
    state.SetItemsProcessed(state.iterations());
    FreeObjectTable(table);
}

/// The same look-up with the bounds known to hold: what the test of them costs.
static void BM_ArrayRead(benchmark::State& state)
{
    ObjectTable* table = CreateFullTable();
    const int32_t ids[] = {1, 4096, 5, 6, 17, 4000, 2048, 3};
    uint32_t i = 0;
    for ([[maybe_unused]] auto _ : state)
    {
        benchmark::DoNotOptimize(table->records[ids[i % 8] - 1]);
        i += 1;
    }
    state.SetItemsProcessed(state.iterations());
    FreeObjectTable(table);
}

static void BM_FillTable(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state)
    {
        FreeObjectTable(CreateFullTable());
    }
    state.SetItemsProcessed(state.iterations() * kObjectTableCapacity);
}

BENCHMARK(BM_GetObject);
BENCHMARK(BM_GetObjectPointer);
BENCHMARK(BM_ArrayRead);
BENCHMARK(BM_FillTable)->Unit(benchmark::kMicrosecond);
