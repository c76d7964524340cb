#include "engine/data/section.h"

#include <iterator>

/// A row's place is the section's number.
static constexpr SectionWords kSectionWords[] = {
    {"section 0 (layers)", "item", "parameter"},
    {"section 1 (procedural textures)", "item", "step"},
    {"section 2 (models)", "item", "part"},
    {"section 3 (envelopes)", "item", "piece"},
    {"section 4 (lights)", "item", "value"},
    {"section 5 (2D effects)", "item", "parameter"},
    {"section 6 (bitmaps)", "item", "part"},
    {"section 7 (materials)", "item", "child"},
    {"section 8 (generated meshes)", "item", "parameter"},
    {"section 9 (scenes)", "item", "object"},
    {"section 10 (timeline)", "row", "clip"},
    {"music node", "item", "part"},
};
static_assert(std::size(kSectionWords) == kSectionCount + 1);

const SectionWords* GetSectionWords(Section section)
{
    const int32_t number = static_cast<int32_t>(section);
    return number >= 0 && number <= kSectionCount ? &kSectionWords[number] : nullptr;
}
