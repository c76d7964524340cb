// SPDX-License-Identifier: MIT
#include "studio/logic/value_edits.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "studio/logic/follow_items.h"

void NoteChange(const ValueChange& change, ValueEdits* edits)
{
    edits->steps.resize(edits->applied);
    edits->drags += edits->isOpen ? 0 : 1;
    edits->isOpen = true;
    for (ValueChange& step : edits->steps)
    {
        if (step.drag == edits->drags && step.place == change.place)
        {
            step.is = change.is;
            return;
        }
    }
    edits->steps.push_back(change);
    edits->steps.back().drag = edits->drags;
    edits->applied += 1;
}

void EndChange(ValueEdits* edits)
{
    edits->isOpen = false;
}

std::vector<ValueChange> UndoChange(ValueEdits* edits)
{
    edits->isOpen = false;
    std::vector<ValueChange> undone;
    while (edits->applied != 0 &&
           (undone.empty() || edits->steps[edits->applied - 1].drag == undone[0].drag))
    {
        edits->applied -= 1;
        undone.push_back(edits->steps[edits->applied]);
    }
    return undone;
}

std::vector<ValueChange> RedoChange(ValueEdits* edits)
{
    edits->isOpen = false;
    std::vector<ValueChange> done;
    while (edits->applied != edits->steps.size() &&
           (done.empty() || edits->steps[edits->applied].drag == done[0].drag))
    {
        done.push_back(edits->steps[edits->applied]);
        edits->applied += 1;
    }
    return done;
}

std::vector<ValueChange> ListChanges(const ValueEdits& edits)
{
    std::vector<ValueChange> changes;
    for (size_t i = 0; i < edits.applied; ++i)
    {
        const ValueChange& step = edits.steps[i];
        const auto found =
            std::find_if(changes.begin(), changes.end(),
                         [&step](const ValueChange& change) { return change.place == step.place; });
        if (found == changes.end())
        {
            changes.push_back(step);
        }
        else
        {
            found->is = step.is;
        }
    }
    std::erase_if(changes, [](const ValueChange& change) { return change.was == change.is; });
    return changes;
}

bool IsChanged(const ValueEdits& edits, const FieldPlace& place)
{
    const std::vector<ValueChange> changes = ListChanges(edits);
    return std::any_of(changes.begin(), changes.end(),
                       [&place](const ValueChange& change) { return change.place == place; });
}

void FollowChanges(const DemoDocument* before, const DemoDocument* document,
                   std::vector<ValueChange>* changes, std::vector<ValueChange>* lost)
{
    std::vector<FieldPlace> places;
    for (const ValueChange& change : *changes)
    {
        places.push_back(change.place);
    }
    places = FollowPlaces(before, document, places);
    std::vector<ValueChange> kept;
    for (size_t i = 0; i < places.size(); ++i)
    {
        ValueChange change = (*changes)[i];
        if (places[i].item == 0)
        {
            lost->push_back(change);
            continue;
        }
        change.place = places[i];
        change.part = change.part == 0 ? 0 : change.place.path[0]; // parts are the item's children
        kept.push_back(std::move(change));
    }
    *changes = std::move(kept);
}

std::vector<ValueChange> RebaseChanges(const DemoDocument* before, const DemoDocument* document,
                                       ValueEdits* edits, std::vector<ValueChange>* lost)
{
    std::vector<ValueChange> changes = ListChanges(*edits);
    FollowChanges(before, document, &changes, lost);
    std::erase_if(changes, [document](const ValueChange& change)
                  { return TextAt(document, change.place) != change.was; });
    for (size_t i = 0; i < changes.size(); ++i)
    {
        changes[i].drag = static_cast<uint32_t>(i + 1);
    }
    *edits = {changes, changes.size(), false, static_cast<uint32_t>(changes.size())};
    return changes;
}

std::string ChangesText(const std::vector<ValueChange>& changes,
                        const std::vector<std::string>& lines)
{
    std::string text;
    for (size_t i = 0; i < changes.size(); ++i)
    {
        const std::string line = i < lines.size() && !lines[i].empty() ? lines[i] + "  " : "";
        text += line;
        text += changes[i].label + ": " + changes[i].was + " -> " + changes[i].is + "\n";
    }
    return text;
}

std::string NumberText(float value)
{
    char text[48];
    for (int digits = 6; digits <= 9; ++digits)
    {
        snprintf(text, sizeof(text), "%.*g", digits, static_cast<double>(value));
        if (strtof(text, nullptr) == value)
        {
            break;
        }
    }
    return text;
}
