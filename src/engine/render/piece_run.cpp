// SPDX-License-Identifier: MIT
#include "engine/render/piece_run.h"

#include "engine/piece/read_ahead.h"
#include "engine/textures/layer_generator.h"

bool StartRun(PieceRun* run, FaultList* faults)
{
    *run = {};
    run->faults = faults;
    return StartPiece(&run->piece, &run->state, faults);
}

static DemoDocument* GetDocument(PieceRun* run, RunDocument document)
{
    return document == RunDocument::kDemo ? &run->piece.demo : &run->piece.loading;
}

static DocumentState* GetState(PieceRun* run, RunDocument document)
{
    return document == RunDocument::kDemo ? &run->state.demo : &run->state.loading;
}

static DocumentUpload* GetUpload(PieceRun* run, RunDocument document)
{
    return document == RunDocument::kDemo ? &run->demo : &run->loading;
}

static const SectionReader* Readers(const PieceRun* run)
{
    return run->readers != nullptr ? run->readers : PieceSections;
}

static void NoteLook(const LoadWatcher* watcher)
{
    if (watcher != nullptr && watcher->looked != nullptr)
    {
        watcher->looked(watcher->user);
    }
}

/// Reads, starts and uploads all items of a document whose text is there.
static bool LoadItems(PieceRun* run, RunDocument which, ReadContext* context,
                      const LoadWatcher* watcher)
{
    const DemoDocument* document = context->document;
    const UploadContext upload = {GetUpload(run, which), document,      GetState(run, which),
                                  &run->state.random,    run->features, context->isDemo,
                                  run->keepPixels,       run->faults};

    DocumentReader reader;
    BeginReading(Readers(run), context, &reader);
    while (true)
    {
        ItemPlace item;
        const ReadStep step = ReadNextItem(&reader, &item);
        NoteLook(watcher);
        if (step != ReadStep::kItem)
        {
            return step == ReadStep::kDone;
        }
        const bool uploaded = StartItemState(item.section, item.id, document, upload.state,
                                             upload.random, run->faults) &&
                              UploadItem(&upload, &item);
        if (!uploaded)
        {
            return false;
        }
        if (watcher != nullptr && watcher->itemDone != nullptr)
        {
            watcher->itemDone(watcher->user);
            if (HasFailed(run->faults))
            {
                return false;
            }
        }
    }
}

LoadResult LoadRunDocument(PieceRun* run, RunDocument which, const LoadWatcher* watcher)
{
    DemoDocument* document = GetDocument(run, which);
    const bool found = LoadDocument(&run->piece.package, document, run->faults);
    NoteLook(watcher);
    if (!found)
    {
        return HasFailed(run->faults) ? LoadResult::kFailed : LoadResult::kMissing;
    }

    ReadContext context = {};
    context.document = document;
    context.package = &run->piece.package;
    context.isDemo = which == RunDocument::kDemo;
    context.computePixels = true;
    context.faults = run->faults;
    context.user = run->readersUser;
    StartReadAhead(Readers(run), run->threads, &context);
    const bool loaded = LoadItems(run, which, &context, watcher);
    StopReadAhead(&context);
    FreeLayers(&context); // those that a fault left behind
    if (!loaded)
    {
        return LoadResult::kFailed;
    }
    (which == RunDocument::kDemo ? run->piece.hasDemo : run->piece.hasLoading) = true;
    return LoadResult::kLoaded;
}

FrameSources RunSources(PieceRun* run, RunDocument document)
{
    GlFeatures features = run->features;
    if (document == RunDocument::kLoading)
    {
        features = {0, 0, 0, run->features.dot3};
    }
    return {GetDocument(run, document),
            GetState(run, document),
            GetUpload(run, document),
            &run->state.random,
            &run->gl,
            &run->arena,
            features,
            run->faults};
}

/// Frees all that is not OpenGL's.
static void FreeRun(PieceRun* run)
{
    FreePieceState(&run->state);
    ClosePiece(&run->piece);
    FreeArena(&run->arena);
    *run = {};
}

void CloseRun(PieceRun* run)
{
    FreeUpload(&run->loading);
    FreeUpload(&run->demo);
    FreeRun(run);
}

void LeaveRun(PieceRun* run)
{
    ForgetUpload(&run->loading);
    ForgetUpload(&run->demo);
    FreeRun(run);
}
