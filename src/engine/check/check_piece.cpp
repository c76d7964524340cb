// SPDX-License-Identifier: MIT
#include "engine/check/check_piece.h"

#include "engine/check/context.h"
#include "engine/data/compressed_entry.h"
#include "engine/piece/piece.h"
#include "engine/render/records/timeline.h"

static bool OpenRequested(const CheckRequest* request, PackageFile* package, FaultList* faults)
{
    return request->path != nullptr
               ? OpenPackageFile(request->path, package, faults)
               : OpenPackageMemory(request->bytes, request->size, package, faults);
}

static bool StartChecked(CheckedDocument* checked, const char* name, bool isDemo, FaultList* faults)
{
    *checked = {};
    checked->document.name = name;
    checked->isDemo = isDemo;
    checked->document.timeline = CreateTimeline(faults);
    return checked->document.timeline != nullptr;
}

/// @return the text of a document; empty where it can't be read
static std::string ReadText(CheckContext* context, const char* name)
{
    FaultList faults;
    StartFaults(&faults);
    InflatedEntry entry = {};
    std::string text;
    if (InflatePackageEntry(&context->package, name, 0, kLargestText, &entry, &faults))
    {
        text.assign(reinterpret_cast<const char*>(entry.data), entry.length);
        ReturnToBudget(&context->package.budget, entry.taken);
        FreeInflatedEntry(&entry);
    }
    FreeFaults(&faults);
    return text;
}

/// A piece without one of its documents.
static void CheckPresence(CheckContext* context)
{
    const Spot spot = {context, nullptr, Section::kNone, 0, 0, nullptr};
    const bool hasLoading = context->loading.isThere;
    const bool hasDemo = context->demo.isThere;
    if (!hasDemo && !hasLoading)
    {
        AddFinding(&spot, Severity::kError, Rule::kMissingDocument, nullptr,
                   FormatText("the package has neither \"%s\" nor \"%s\"", kDemoDocumentName,
                              kLoadingDocumentName));
    }
    else if (!hasDemo)
    {
        AddFinding(
            &spot, Severity::kWarning, Rule::kMissingDocument, nullptr,
            FormatText("the package has no \"%s\": the piece ends at once", kDemoDocumentName));
    }
    else if (!hasLoading)
    {
        AddFinding(&spot, Severity::kNote, Rule::kMissingDocument, nullptr,
                   FormatText("the package has no \"%s\": nothing is shown while it loads",
                              kLoadingDocumentName));
    }
}

static void CheckDocument(CheckContext* context, CheckedDocument* checked)
{
    if (checked->isWhole && checked->isDemo)
    {
        WalkDemo(&checked->document, &checked->played);
    }
    else if (checked->isWhole)
    {
        WalkLoading(&checked->document, CountItems(&context->demo.document), &checked->played);
    }
    CheckStructure(context, checked);
    if (checked->isWhole)
    {
        CheckReferences(context, checked);
        CheckTime(context, checked);
        CheckViews(context, checked);
        CheckPictures(context, checked);
    }
}

/// All of a check whose package is open.
static void CheckOpened(CheckContext* context, const CheckRequest* request, CheckResult* result)
{
    ReadChecked(context, &context->loading);
    ReadChecked(context, &context->demo);
    CheckPresence(context);
    CheckDocument(context, &context->loading);
    CheckDocument(context, &context->demo);
    CheckPackage(context, request->musicFolder);
    SortFindings(&result->findings);
    result->endTick = context->demo.played.endTick;
    if (context->loading.isThere)
    {
        result->loadingText = ReadText(context, kLoadingDocumentName);
    }
    if (context->demo.isThere)
    {
        result->demoText = ReadText(context, kDemoDocumentName);
    }
}

void CheckPiece(const CheckRequest* request, CheckResult* result)
{
    CheckContext context = {};
    context.findings = &result->findings;
    FaultList faults;
    StartFaults(&faults);
    const bool isOpen = StartChecked(&context.loading, kLoadingDocumentName, false, &faults) &&
                        StartChecked(&context.demo, kDemoDocumentName, true, &faults) &&
                        OpenRequested(request, &context.package, &faults);
    if (isOpen)
    {
        CheckOpened(&context, request, result);
        ClosePackage(&context.package);
    }
    else
    {
        const Spot spot = {&context, nullptr, Section::kNone, 0, 0, nullptr};
        AddFinding(&spot, Severity::kError, Rule::kUnreadablePackage, nullptr, faults.first.text);
    }
    FreeFaults(&faults);
    FreeDocument(PieceSections, &context.loading.document);
    FreeDocument(PieceSections, &context.demo.document);
}
