// SPDX-License-Identifier: MIT
#include "studio/logic/follow_items.h"

#include <algorithm>
#include <map>

#include "engine/data/document_values.h"

/// The most pairs of elements that are compared. Lists that differ in more are paired as a whole.
static constexpr size_t kMostPairs = size_t{1} << 22;

using Pairs = std::vector<uint32_t>; // for each place before, the one after from 1; 0 for none

/// Pairs the elements of a longest common list. Both are given without the ends that they share.
static void PairCommon(const std::vector<std::string>& before,
                       const std::vector<std::string>& after, size_t head, size_t rows,
                       size_t columns, Pairs* pairs)
{
    if (rows * columns > kMostPairs)
    {
        return;
    }
    // [row * stride + column]: the length of a longest common list of what comes from there on.
    const size_t stride = columns + 1;
    std::vector<uint16_t> lengths((rows + 1) * stride);
    for (size_t row = rows; row-- > 0;)
    {
        for (size_t column = columns; column-- > 0;)
        {
            lengths[row * stride + column] =
                before[head + row] == after[head + column]
                    ? static_cast<uint16_t>(lengths[(row + 1) * stride + column + 1] + 1)
                    : std::max(lengths[(row + 1) * stride + column],
                               lengths[row * stride + column + 1]);
        }
    }
    for (size_t row = 0, column = 0; row < rows && column < columns;)
    {
        if (before[head + row] == after[head + column])
        {
            (*pairs)[head + row] = static_cast<uint32_t>(head + column + 1);
            row += 1;
            column += 1;
        }
        else if (lengths[(row + 1) * stride + column] >= lengths[row * stride + column + 1])
        {
            row += 1;
        }
        else
        {
            column += 1;
        }
    }
}

/// Pairs what lies between two pairs, where it is as many before as after.
static void PairBetween(size_t afterCount, Pairs* pairs)
{
    size_t begin = 0; // of the elements without a pair
    size_t taken = 0; // elements of `after` up to the last pair
    for (size_t i = 0; i <= pairs->size(); ++i)
    {
        const size_t next = i == pairs->size() ? afterCount + 1 : (*pairs)[i];
        if (next == 0)
        {
            continue;
        }
        if (i - begin == next - 1 - taken)
        {
            for (size_t k = begin; k < i; ++k)
            {
                (*pairs)[k] = static_cast<uint32_t>(taken + k - begin + 1);
            }
        }
        begin = i + 1;
        taken = next;
    }
}

std::vector<uint32_t> PairElements(const std::vector<std::string>& before,
                                   const std::vector<std::string>& after)
{
    Pairs pairs(before.size());
    const size_t least = std::min(before.size(), after.size());
    size_t head = 0;
    for (; head < least && before[head] == after[head]; ++head)
    {
        pairs[head] = static_cast<uint32_t>(head + 1);
    }
    size_t tail = 0;
    for (;
         tail < least - head && before[before.size() - 1 - tail] == after[after.size() - 1 - tail];
         ++tail)
    {
        pairs[before.size() - 1 - tail] = static_cast<uint32_t>(after.size() - tail);
    }
    PairCommon(before, after, head, before.size() - head - tail, after.size() - head - tail,
               &pairs);
    PairBetween(after.size(), &pairs);
    if (before.size() == after.size())
    {
        return pairs;
    }

    std::map<std::string, int64_t> more; // of each, after less before
    for (const std::string& element : before)
    {
        more[element] -= 1;
    }
    for (const std::string& element : after)
    {
        more[element] += 1;
    }
    for (size_t i = 0; i < before.size(); ++i)
    {
        const bool isEqual = pairs[i] != 0 && before[i] == after[pairs[i] - 1];
        pairs[i] = isEqual && more[before[i]] != 0 ? 0 : pairs[i];
    }
    return pairs;
}

/// Adds what a value says, with its path from a depth on.
static void AddValue(const Field& field, size_t depth, std::string* text)
{
    for (size_t i = depth; i < field.place.path.size(); ++i)
    {
        *text += std::to_string(field.place.path[i]) + "/";
    }
    const bool isId = field.kind == FieldKind::kCurve || field.kind == FieldKind::kItem;
    *text += field.place.attribute + "=" + (isId ? "id" : field.text) + "\n";
}

/// What the children of an element say, one text each.
/// @param fields   of the item
/// @param path     of the element, from the item down
static std::vector<std::string> ChildTexts(const std::vector<Field>& fields,
                                           const std::vector<uint32_t>& path, uint32_t count)
{
    std::vector<std::string> texts(count);
    for (const Field& field : fields)
    {
        const std::vector<uint32_t>& at = field.place.path;
        const bool isBelow =
            at.size() > path.size() && std::equal(path.begin(), path.end(), at.begin());
        if (isBelow && at[path.size()] <= count)
        {
            AddValue(field, path.size() + 1, &texts[at[path.size()] - 1]);
        }
    }
    return texts;
}

/// What the items of a section say, one text each.
static std::vector<std::string> ItemTexts(const DemoDocument* document, Section section)
{
    std::vector<std::string> texts;
    const uint32_t count = CountSectionItems(document, section);
    for (uint32_t item = 1; item <= count; ++item)
    {
        std::string text;
        for (const Field& field : ListFields(document, {section, item, 0}))
        {
            AddValue(field, 0, &text);
        }
        texts.push_back(std::move(text));
    }
    return texts;
}

/// Follows the path from an item down.
/// @return false if an element of it is gone
static bool FollowPath(const DemoDocument* before, const DemoDocument* after,
                       const FieldPlace& place, FieldPlace* now)
{
    FieldPlace was = {place.section, place.item, {}, ""};
    std::vector<Field> fieldsBefore, fieldsAfter;
    for (const uint32_t step : place.path)
    {
        const uint32_t countBefore = CountChildren(FindElement(before, was));
        const uint32_t countAfter = CountChildren(FindElement(after, *now));
        uint32_t stepNow = step;
        // Most elements have a meaning by their place: they are where they were.
        if (countBefore != countAfter)
        {
            if (fieldsBefore.empty())
            {
                fieldsBefore = ListFields(before, {was.section, was.item, 0});
                fieldsAfter = ListFields(after, {now->section, now->item, 0});
            }
            const Pairs pairs = PairElements(ChildTexts(fieldsBefore, was.path, countBefore),
                                             ChildTexts(fieldsAfter, now->path, countAfter));
            stepNow = step == 0 || step > pairs.size() ? 0 : pairs[step - 1];
        }
        if (stepNow == 0)
        {
            return false;
        }
        was.path.push_back(step);
        now->path.push_back(stepNow);
    }
    return true;
}

std::vector<FieldPlace> FollowPlaces(const DemoDocument* before, const DemoDocument* after,
                                     const std::vector<FieldPlace>& places)
{
    std::map<Section, Pairs> sections;
    std::vector<FieldPlace> followed;
    for (const FieldPlace& place : places)
    {
        const auto known = sections.find(place.section);
        const Pairs& pairs =
            known != sections.end()
                ? known->second
                : sections
                      .emplace(place.section, PairElements(ItemTexts(before, place.section),
                                                           ItemTexts(after, place.section)))
                      .first->second;
        FieldPlace now = {place.section, 0, {}, ""};
        now.item = place.item == 0 || place.item > pairs.size() ? 0 : pairs[place.item - 1];
        if (now.item == 0 || !FollowPath(before, after, place, &now))
        {
            now.item = 0;
        }
        now.attribute = place.attribute;
        followed.push_back(now);
    }
    return followed;
}

std::vector<FieldPlace> ListDifferences(const DemoDocument* before, const DemoDocument* after)
{
    std::vector<FieldPlace> places;
    for (int32_t number = 0; number < kSectionCount; ++number)
    {
        const Section section = static_cast<Section>(number);
        const uint32_t count = CountSectionItems(before, section);
        const uint32_t compared = count == CountSectionItems(after, section) ? count : 0;
        for (uint32_t item = 1; item <= compared; ++item)
        {
            for (const Field& field : ListFields(before, {section, item, 0}))
            {
                const bool isNumber = field.kind == FieldKind::kNumber ||
                                      field.kind == FieldKind::kInteger ||
                                      field.kind == FieldKind::kTicks;
                if (isNumber && TextAt(after, field.place) != field.text)
                {
                    places.push_back(field.place);
                }
            }
        }
    }
    return places;
}
