// SPDX-License-Identifier: MIT
#include "engine/geometry/manipulator.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/animation/animated_value.h"
#include "engine/data/arena.h"
#include "engine/data/fault.h"
#include "support/fault_text.h"

// Reading.

/// Reads a manipulator from XML text into a record full of rubbish, as part of an object.
/// @param lines   receives the faults' lines; null where there must be none
static Manipulator Read(const std::string& text, std::string* lines = nullptr)
{
    TiXmlDocument document;
    document.Parse(text.c_str());
    EXPECT_FALSE(document.Error()) << document.ErrorDesc();

    FaultList faults;
    StartFaults(&faults);
    faults.place = PlaceAt("demo.xmlz", Section::kScenes, 2, 5);
    Manipulator manipulator;
    memset(&manipulator, 0xCD, sizeof(manipulator));
    const bool read = ReadManipulator(document.RootElement(), &manipulator, &faults);
    EXPECT_EQ(read, lines == nullptr);
    EXPECT_EQ(HasFailed(&faults), !read);
    if (lines != nullptr)
    {
        *lines = FaultText(faults);
    }
    FreeFaults(&faults);
    return manipulator;
}

/// @return what is wrong with a manipulator's text, without the place
static std::string FaultOf(const std::string& text)
{
    std::string lines;
    Read(text, &lines);
    const std::string place = "quorvale: demo.xmlz, section 9 (scenes), item 2, object 5: ";
    EXPECT_EQ(lines.substr(0, place.size()), place);
    return lines.substr(place.size());
}

static std::string Params(int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        text += "<p type=\"static\" value=\"" + std::to_string(i) + "\"/>";
    }
    return text;
}

TEST(Manipulator, ParametersAreReadInOrderWithTheirMaskBits)
{
    Manipulator manipulator = Read("<m type=\"0\">"
                                   "<a type=\"static\" value=\"2.5\"/>"
                                   "<b type=\"dynamic\" value=\"7\"/>"
                                   "<c type=\"Dynamic\" value=\"3\"/>"
                                   "<a type=\"static\" value=\"-1e-3\"/>"
                                   "<a type=\"static\" value=\"4\"/>"
                                   "<a type=\"static\" value=\"5\"/>"
                                   "<a type=\"static\" value=\"6\"/>"
                                   "<a type=\"static\" value=\"7\"/>"
                                   "<a type=\"static\" value=\"8\"/>"
                                   "<a type=\"dynamic\" value=\"4096\"/>"
                                   "</m>");
    EXPECT_EQ(manipulator.type, 0);
    EXPECT_EQ(SlotFloat(manipulator.params[0]), 2.5f);
    EXPECT_EQ(manipulator.params[1], 7u);
    EXPECT_EQ(SlotFloat(manipulator.params[2]), 3.0f); // a capital letter is not the word
    EXPECT_EQ(SlotFloat(manipulator.params[3]), -0.001f);
    EXPECT_EQ(SlotFloat(manipulator.params[8]), 8.0f);
    EXPECT_EQ(manipulator.params[9], 4096u);
    const uint8_t mask[7] = {0x40, 0x40, 0, 0, 0, 0, 0};
    EXPECT_EQ(memcmp(manipulator.dynamicMask, mask, sizeof(mask)), 0);
}

TEST(Manipulator, ParametersThatADocumentLeavesOutAreZero)
{
    Manipulator manipulator = Read("<m type=\"1\"><p type=\"static\" value=\"2\"/></m>");
    for (uint32_t k = 1; k < kManipulatorParams; ++k)
    {
        EXPECT_EQ(manipulator.params[k], 0u) << k;
    }
}

TEST(Manipulator, AnElementWithoutChildrenHasATypeAndNothingElse)
{
    Manipulator manipulator = Read("<m type=\"3\"/>");
    EXPECT_EQ(manipulator.type, 3);
    EXPECT_EQ(manipulator.placementId, 0u);
    EXPECT_EQ(manipulator.placementKind, 0);
    EXPECT_EQ(manipulator.params[0], 0u);
}

TEST(Manipulator, AFirstChildCalledManipulatorNamesTheMeshToPlaceOn)
{
    Manipulator manipulator =
        Read("<m type=\"3\"><manipulator type=\"1\" model=\"12\"/>" + Params(9) + "</m>");
    EXPECT_EQ(manipulator.placementKind, 1);
    EXPECT_EQ(manipulator.placementId, 12u);
    EXPECT_EQ(SlotFloat(manipulator.params[0]), 0.0f);
    EXPECT_EQ(SlotFloat(manipulator.params[8]), 8.0f);
}

TEST(Manipulator, TheMeshToPlaceOnIsReadAsDoublesAndCutToIntegers)
{
    Manipulator manipulator =
        Read("<m type=\"3\"><manipulator type=\"1.9\" model=\"16777217.75\"/></m>");
    EXPECT_EQ(manipulator.placementKind, 1);
    EXPECT_EQ(manipulator.placementId, 16777217u); // a float would have lost the 1
}

TEST(Manipulator, AChildCalledManipulatorIsAParameterInAnyOtherPlace)
{
    Manipulator manipulator = Read("<m type=\"3\"><p type=\"static\" value=\"1\"/>"
                                   "<manipulator type=\"dynamic\" value=\"2\" model=\"3\"/></m>");
    EXPECT_EQ(manipulator.placementId, 0u);
    EXPECT_EQ(manipulator.params[1], 2u);
    EXPECT_EQ(manipulator.dynamicMask[0], 0x40);
}

TEST(Manipulator, ThirtyTwoParametersFitTheRecord)
{
    Manipulator manipulator = Read("<m type=\"0\">" + Params(32) + "</m>");
    EXPECT_EQ(SlotFloat(manipulator.params[31]), 31.0f);
}

TEST(Manipulator, AThirtyThirdParameterIsAFault)
{
    EXPECT_EQ(FaultOf("<m type=\"0\">" + Params(33) + "</m>"),
              "a manipulator has more than 32 parameters\n");
}

TEST(Manipulator, AMissingAttributeIsAFault)
{
    EXPECT_EQ(FaultOf("<m/>"), "attribute \"type\" of <m> is missing\n");
    EXPECT_EQ(FaultOf("<m type=\"3\"><manipulator type=\"0\"/></m>"),
              "attribute \"model\" of <manipulator> is missing\n");
    EXPECT_EQ(FaultOf("<m type=\"3\"><manipulator model=\"1\"/></m>"),
              "attribute \"type\" of <manipulator> is missing\n");
    EXPECT_EQ(FaultOf("<m type=\"0\"><p type=\"static\"/></m>"),
              "attribute \"value\" of <p> is missing\n");
}

TEST(Manipulator, TextBetweenTheParametersIsAFault)
{
    EXPECT_EQ(FaultOf("<m type=\"0\">manipulator</m>"),
              "the mesh of a manipulator is not an element\n");
    EXPECT_EQ(FaultOf("<m type=\"0\"><p type=\"static\" value=\"1\"/>text</m>"),
              "a parameter of a manipulator is not an element\n");
}

TEST(Manipulator, EachTypeTakesItsNumberOfParameters)
{
    EXPECT_EQ(ManipulatorParamCount(kManipulatorXyzMultiplier), 12u);
    EXPECT_EQ(ManipulatorParamCount(kManipulatorXMultiplier), 10u);
    EXPECT_EQ(ManipulatorParamCount(kManipulatorRippler), 3u);
    EXPECT_EQ(ManipulatorParamCount(kManipulatorModelPlacer), 9u);
    EXPECT_EQ(ManipulatorParamCount(4), 0u);
    EXPECT_EQ(ManipulatorParamCount(-1), 0u);
}

// The multipliers.

using Floats = std::vector<float>;

/// Runs manipulators that need no mesh, one after another, on a list of as many instances as there
/// are nines of values.
struct Chain
{
    explicit Chain(const Floats& values)
    {
        StartFaults(&faults);
        faults.place = PlaceAt("demo.xmlz", Section::kScenes, 2, 5);
        EXPECT_TRUE(AllocateInstances(static_cast<uint32_t>(values.size() / kInstanceFloats), &list,
                                      &arena, &faults));
        std::copy(values.begin(), values.end(), list.data);
    }
    ~Chain()
    {
        FreeArena(&arena);
        FreeFaults(&faults);
    }
    Chain(const Chain&) = delete;
    Chain& operator=(const Chain&) = delete;

    bool Apply(int32_t type, const Floats& params)
    {
        const ManipulatorCall call = {type, params.data(), nullptr, nullptr,
                                      0,    nullptr,       &arena,  &faults};
        return ApplyManipulator(&list, &call);
    }
    Floats Values() const
    {
        return {list.data, list.data + size_t{list.count} * kInstanceFloats};
    }

    Arena arena = {};
    FaultList faults;
    InstanceList list;
};

static Floats Apply(const Floats& values, int32_t type, const Floats& params)
{
    Chain chain(values);
    EXPECT_TRUE(chain.Apply(type, params));
    return chain.Values();
}

static uint32_t CountCopies(int32_t type, const Floats& params)
{
    Chain chain(Floats(9));
    EXPECT_TRUE(chain.Apply(type, params));
    return chain.list.count;
}

static const Floats kSource = {1, 2, 3, 10, 20, 30, 1, 1, 1};
static const Floats kOther = {5, 6, 7, 40, 50, 60, 2, 2, 2};

static Floats Join(const Floats& a, const Floats& b)
{
    Floats both = a;
    both.insert(both.end(), b.begin(), b.end());
    return both;
}

TEST(Manipulator, AnXMultiplierLaysOutCopiesThatAreWholeStepsApart)
{
    const Floats params = {3, 0.5f, -1, 2, 90, 45, -45, 1, 0.25f, 0};
    const Floats expected = {
        1,    2, 3, 10,  20,  30,  1, 1,     1, // the source itself
        1.5f, 1, 5, 100, 65,  -15, 2, 1.25f, 1, // one step
        2,    0, 7, 190, 110, -60, 3, 1.5f,  1, // two: scales add and do not multiply
    };
    EXPECT_EQ(Apply(kSource, kManipulatorXMultiplier, params), expected);
}

TEST(Manipulator, AnXMultiplierKeepsTheCopiesOfASourceTogether)
{
    const Floats params = {2, 100, 0, 0, 0, 0, 0, 0, 0, 0};
    const Floats expected = {
        1, 2, 3, 10, 20, 30, 1, 1, 1, 101, 2, 3, 10, 20, 30, 1, 1, 1,
        5, 6, 7, 40, 50, 60, 2, 2, 2, 105, 6, 7, 40, 50, 60, 2, 2, 2,
    };
    EXPECT_EQ(Apply(Join(kSource, kOther), kManipulatorXMultiplier, params), expected);
}

TEST(Manipulator, ANumberOfCopiesDropsItsFraction)
{
    Floats params(12);
    params[0] = 3.9f;
    EXPECT_EQ(CountCopies(kManipulatorXMultiplier, params), 3u);
    params = {2.99f, 3.5f, 4.01f, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    EXPECT_EQ(CountCopies(kManipulatorXyzMultiplier, params), 24u);
}

TEST(Manipulator, ANumberBelowOneEmptiesTheListAndItStaysEmpty)
{
    for (float number : {-2.0f, 0.0f, 0.99f, -0.5f, -3e9f, NAN})
    {
        const Floats params = {number, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        EXPECT_EQ(CountCopies(kManipulatorXMultiplier, params), 0u) << number;
    }

    const Floats none = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    const Floats many = {5, 5, 5, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    Chain chain(kSource);
    EXPECT_TRUE(chain.Apply(kManipulatorXMultiplier, none));
    EXPECT_EQ(chain.list.count, 0u);
    EXPECT_TRUE(chain.Apply(kManipulatorXMultiplier, many));
    EXPECT_EQ(chain.list.count, 0u);
    EXPECT_TRUE(chain.Apply(kManipulatorXyzMultiplier, many));
    EXPECT_EQ(chain.list.count, 0u);
}

TEST(Manipulator, ANegativeNumberOfAnyAxisEmptiesTheGrid)
{
    for (size_t axis = 0; axis < 3; ++axis)
    {
        Floats params = {2, 3, 4, 0, 0, 0, 0, 0, 0, 0, 0, 0};
        params[axis] = -1;
        EXPECT_EQ(CountCopies(kManipulatorXyzMultiplier, params), 0u) << axis;
    }
}

TEST(Manipulator, AGridHasTheSourceOutermostAndZInnermost)
{
    const Floats params = {2, 3, 4, 100, 10, 1, 7, 8, 9, 0.5f, 0.25f, 0.125f};
    Floats values = Apply(Join(kSource, kOther), kManipulatorXyzMultiplier, params);
    ASSERT_EQ(values.size(), 48u * kInstanceFloats);

    // Instance 25 comes from the second source with ix 0, iy 0, iz 1.
    const Floats at25(values.begin() + 25 * 9, values.begin() + 26 * 9);
    EXPECT_EQ(at25, (Floats{5, 6, 8, 40, 50, 69, 2, 2, 2.125f}));

    // ((0 * 2 + 1) * 3 + 2) * 4 + 3 = 23 from the first, at the far corner.
    const Floats at23(values.begin() + 23 * 9, values.begin() + 24 * 9);
    EXPECT_EQ(at23, (Floats{101, 22, 6, 17, 36, 57, 1.5f, 1.5f, 1.375f}));
}

TEST(Manipulator, ARotationAboutXChangesAlongXOnly)
{
    const Floats params = {2, 2, 2, 0, 0, 0, 5, 0, 0, 0, 0, 0};
    Floats values = Apply(kSource, kManipulatorXyzMultiplier, params);
    Floats rotations;
    for (size_t i = 0; i < 8; ++i)
    {
        rotations.push_back(values[i * kInstanceFloats + 3]);
    }
    EXPECT_EQ(rotations, (Floats{10, 10, 10, 10, 15, 15, 15, 15}));
}

TEST(Manipulator, AStepIsMultipliedAndRoundedBeforeItIsAdded)
{
    // The product 3 * 0.1f is rounded to 0.3f, which takes the source to 0. Rounded once, with the
    // sum, it would give -7.450581e-09.
    const Floats params = {4, 0.1f, 0, 0, 0, 0, 0, 0, 0, 0};
    Floats values = Apply({-0.3f, 0, 0, 0, 0, 0, 0, 0, 0}, kManipulatorXMultiplier, params);
    EXPECT_EQ(values[3 * kInstanceFloats], 0.0f);
}

TEST(Manipulator, LargeNumbersBesideAZeroAreAnEmptyList)
{
    EXPECT_EQ(CountCopies(kManipulatorXyzMultiplier, {2e9f, 2e9f, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}),
              0u);
}

TEST(Manipulator, AMillionInstancesAreNotTooMany)
{
    EXPECT_EQ(CountCopies(kManipulatorXMultiplier, {1048576, 0, 0, 0, 0, 0, 0, 0, 0, 0}), 1048576u);
}

TEST(Manipulator, MoreInstancesThanCouldBeDrawnAreAFault)
{
    struct Case
    {
        int32_t type;
        Floats params;
    };
    const Case cases[] = {
        // 65536 * 65536 would wrap to 0.
        {kManipulatorXyzMultiplier, {65536, 65536, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {kManipulatorXyzMultiplier, {2e9f, 2e9f, 2e9f, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
        {kManipulatorXMultiplier, {1048577, 0, 0, 0, 0, 0, 0, 0, 0, 0}},
    };
    for (const Case& c : cases)
    {
        Chain chain(kSource);
        EXPECT_FALSE(chain.Apply(c.type, c.params));
        EXPECT_EQ(FaultText(chain.faults),
                  "quorvale: demo.xmlz, section 9 (scenes), item 2, object 5: a manipulator makes "
                  "more than 1048576 instances\n");
    }
}

TEST(Manipulator, AnUnknownTypeLeavesTheListAsItIs)
{
    const Floats params(12);
    EXPECT_EQ(Apply(kSource, 4, params), kSource);
    EXPECT_EQ(Apply(kSource, -1, params), kSource);
}
