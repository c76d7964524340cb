// SPDX-License-Identifier: MIT
#include "engine/render/records/scene.h"

#include <cstdio>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

#include "engine/animation/animated_value.h"
#include "engine/data/fault.h"
#include "support/fault_text.h"

static std::string Value(const std::string& type, const std::string& value)
{
    return "<v type=\"" + type + "\" value=\"" + value + "\"/>";
}

/// The nine placement values, all the same.
static std::string Placement(const std::string& value)
{
    std::string text;
    for (int i = 0; i < 9; ++i)
    {
        text += Value("static", value);
    }
    return text;
}

static std::string Object(const std::string& children)
{
    return "<o type=\"0\" object=\"1\" material=\"1\">" + children + "</o>";
}

static const std::string kTail = "<v value=\"0\"/><v value=\"0\"/>";
static const std::string kPlainObject = Object(Placement("1") + kTail);

class SceneReaderTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        memset(static_cast<void*>(scene.get()), 0xCD, sizeof(Scene)); // as rubbish as memory gets
        StartFaults(&faults);
        context.faults = &faults;
    }

    void TearDown() override
    {
        FreeFaults(&faults);
    }

    bool ReadItem(const std::string& objects)
    {
        TiXmlDocument tree;
        tree.Parse(("<scene>" + objects + "</scene>").c_str());
        EXPECT_FALSE(tree.Error()) << tree.ErrorDesc();
        faults.place = PlaceAt("demo.xmlz", Section::kScenes, 1);
        return ReadSceneItem(tree.RootElement(), scene.get(), 0, &context);
    }

    void Read(const std::string& objects)
    {
        EXPECT_TRUE(ReadItem(objects));
        EXPECT_EQ(FaultText(faults), "");
        EXPECT_EQ(faults.place.part, 0u);
    }

    /// @return the line of a fault from its item on
    std::string FaultOf(const std::string& objects)
    {
        EXPECT_FALSE(ReadItem(objects));
        const std::string lines = FaultText(faults);
        FreeFaults(&faults);
        const std::string place = "quorvale: demo.xmlz, section 9 (scenes), ";
        EXPECT_EQ(lines.substr(0, place.size()), place);
        return lines.substr(place.size());
    }

    std::unique_ptr<Scene> scene = std::make_unique<Scene>();
    FaultList faults;
    ReadContext context = {};
};

TEST_F(SceneReaderTest, ASceneMayBeEmpty)
{
    Read("");
    EXPECT_EQ(scene->objectCount, 0u);
}

TEST_F(SceneReaderTest, AnObjectsAttributesGoToTheirColumns)
{
    Read(kPlainObject + "<o type=\"1\" object=\"12\" material=\"34\">" + Placement("1") + kTail +
         "</o>");
    EXPECT_EQ(scene->objectCount, 2u);
    EXPECT_EQ(scene->objectKind[0], kObjectModel);
    EXPECT_EQ(scene->objectId[0], 1u);
    EXPECT_EQ(scene->materialId[0], 1u);
    EXPECT_EQ(scene->objectKind[1], kObjectGenMesh);
    EXPECT_EQ(scene->objectId[1], 12u);
    EXPECT_EQ(scene->materialId[1], 34u);
}

TEST_F(SceneReaderTest, AnObjectsKindIsCutToAByte)
{
    for (const auto& [text, kind] : {std::pair("256", 0), {"257", 1}, {"-1", 255}, {"2", 2}})
    {
        Read("<o type=\"" + std::string(text) + "\" object=\"1\" material=\"1\">" + Placement("1") +
             kTail + "</o>");
        EXPECT_EQ(scene->objectKind[0], kind);
    }
}

TEST_F(SceneReaderTest, PlacementValuesAreReadInTheirOrder)
{
    std::string values;
    for (int i = 1; i <= 9; ++i)
    {
        values += Value("static", std::to_string(i) + ".5");
    }
    Read(Object(values + kTail));
    EXPECT_EQ(SlotFloat(scene->positionX.slot[0]), 1.5f);
    EXPECT_EQ(SlotFloat(scene->positionY.slot[0]), 2.5f);
    EXPECT_EQ(SlotFloat(scene->positionZ.slot[0]), 3.5f);
    EXPECT_EQ(SlotFloat(scene->rotationX.slot[0]), 4.5f);
    EXPECT_EQ(SlotFloat(scene->rotationY.slot[0]), 5.5f);
    EXPECT_EQ(SlotFloat(scene->rotationZ.slot[0]), 6.5f);
    EXPECT_EQ(SlotFloat(scene->scaleX.slot[0]), 7.5f);
    EXPECT_EQ(SlotFloat(scene->scaleY.slot[0]), 8.5f);
    EXPECT_EQ(SlotFloat(scene->scaleZ.slot[0]), 9.5f);
}

/// The bytes of a mask as hexadecimal digits up to the last that is not 0.
static std::string MaskText(const ObjectValues& values)
{
    std::string text;
    std::string pending;
    for (uint8_t byte : values.dynamicMask)
    {
        char digits[3];
        snprintf(digits, sizeof(digits), "%02x", byte);
        pending += digits;
        if (byte != 0)
        {
            text += pending;
            pending.clear();
        }
    }
    return text;
}

TEST_F(SceneReaderTest, EachValueHasItsOwnMaskWithABitForEachObject)
{
    // Objects 0 and 9 have a dynamic rotation about y, object 9 a dynamic scale along z.
    const std::string rotating =
        Value("static", "0") + Value("static", "0") + Value("static", "0") + Value("static", "0") +
        Value("dynamic", "6") + Value("static", "0") + Value("static", "1") + Value("static", "1");
    std::string objects = Object(rotating + Value("Dynamic", "7") + kTail);
    for (int i = 1; i < 9; ++i)
    {
        objects += kPlainObject;
    }
    objects += Object(rotating + Value("dynamic", "7") + kTail);
    Read(objects);
    EXPECT_EQ(MaskText(scene->rotationY), "8040");
    EXPECT_EQ(MaskText(scene->scaleZ), "0040");
    for (const ObjectValues* values :
         {&scene->positionX, &scene->positionY, &scene->positionZ, &scene->rotationX,
          &scene->rotationZ, &scene->scaleX, &scene->scaleY})
    {
        EXPECT_EQ(MaskText(*values), "");
    }
    EXPECT_EQ(scene->rotationY.slot[9], 6u);
    EXPECT_EQ(scene->scaleZ.slot[9], 7u);
    EXPECT_EQ(SlotFloat(scene->scaleZ.slot[0]), 7.0f);
}

TEST_F(SceneReaderTest, VisibilityAndTimeShiftFollowThePlacement)
{
    Read(Object(Placement("1") + "<v value=\"17\"/><v value=\"-12.5\"/>"));
    EXPECT_EQ(scene->visibilityEnvelope[0], 17u);
    EXPECT_EQ(scene->timeShift[0], -12.5f);
    EXPECT_EQ(scene->manipulatorCount[0], 0);
}

TEST_F(SceneReaderTest, AllFurtherChildrenAreManipulatorsInTheirOrder)
{
    Read(kPlainObject +
         Object(Placement("1") + kTail + "<a type=\"1\"><p type=\"static\" value=\"3\"/></a>" +
                "<b type=\"3\"><manipulator type=\"0\" model=\"9\"/></b>"));
    EXPECT_EQ(scene->manipulatorCount[0], 0);
    EXPECT_EQ(scene->manipulatorCount[1], 2);
    EXPECT_EQ(scene->manipulators[1][0].type, kManipulatorXMultiplier);
    EXPECT_EQ(SlotFloat(scene->manipulators[1][0].params[0]), 3.0f);
    EXPECT_EQ(scene->manipulators[1][1].type, kManipulatorModelPlacer);
    EXPECT_EQ(scene->manipulators[1][1].placementId, 9u);
}

static std::string Repeat(const std::string& text, int count)
{
    std::string all;
    for (int i = 0; i < count; ++i)
    {
        all += text;
    }
    return all;
}

TEST_F(SceneReaderTest, TheBlocksLimitsCanBeReached)
{
    Read(Repeat(kPlainObject, 511) + Object(Placement("1") + kTail + Repeat("<m type=\"2\"/>", 7)));
    EXPECT_EQ(scene->objectCount, 512u);
    EXPECT_EQ(scene->manipulatorCount[511], 7);
    EXPECT_EQ(scene->manipulators[511][6].type, kManipulatorRippler);
}

TEST_F(SceneReaderTest, AnObjectTooManyIsAFault)
{
    EXPECT_EQ(FaultOf(Repeat(kPlainObject, 513)),
              "item 1, object 513: the scene has more than 512 objects\n");
}

TEST_F(SceneReaderTest, AManipulatorTooManyIsAFault)
{
    EXPECT_EQ(FaultOf(kPlainObject + Object(Placement("1") + kTail + Repeat("<m type=\"2\"/>", 8))),
              "item 1, object 2: the object has more than 7 manipulators\n");
}

TEST_F(SceneReaderTest, AMissingChildIsAFault)
{
    const struct
    {
        std::string children;
        const char* fault;
    } cases[] = {
        {"", "position x is missing"},
        {Repeat(Value("static", "1"), 8), "scale z is missing"},
        {Placement("1"), "visibility is missing"},
        {Placement("1") + "<v value=\"0\"/>", "time shift is missing"},
        {Placement("1") + "<v/>", "attribute \"value\" of <v> is missing"},
        {Placement("1") + "<v value=\"0\"/><v/>", "attribute \"value\" of <v> is missing"},
        {Placement("1") + kTail + "text", "manipulator is not an element"},
    };
    for (const auto& c : cases)
    {
        EXPECT_EQ(FaultOf(kPlainObject + Object(c.children)),
                  std::string("item 1, object 2: ") + c.fault + "\n");
    }
}

TEST_F(SceneReaderTest, AMissingAttributeIsAFault)
{
    EXPECT_EQ(FaultOf("<o object=\"1\"/>"), // of two, the one that is asked for first
              "item 1, object 1: attribute \"type\" of <o> is missing\n");
    EXPECT_EQ(FaultOf("<o type=\"1\" material=\"1\"/>"),
              "item 1, object 1: attribute \"object\" of <o> is missing\n");
    EXPECT_EQ(FaultOf("<o type=\"1\" object=\"1\"/>"),
              "item 1, object 1: attribute \"material\" of <o> is missing\n");
    EXPECT_EQ(FaultOf("text"), "item 1, object 1: object is not an element\n");
}
