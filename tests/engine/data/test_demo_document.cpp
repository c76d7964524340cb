#include "engine/data/demo_document.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/fault.h"
#include "support/byte_file.h"
#include "support/package_builder.h"

/// A record of these tests: what the reader saw.
struct Note
{
    uint32_t index;
    int value;
};

static std::string journal; // what the readers did, in order
static uint32_t itemsAtEnd; // of the last section that ended

static void ReadNote(const TiXmlElement* item, void* record, uint32_t index, LoadContext* context)
{
    journal += "item " + std::to_string(CurrentPlace.section) + "." + std::to_string(index) + " " +
               item->Value() + (record == nullptr ? " no record\n" : "\n");
    if (record != nullptr)
    {
        *static_cast<Note*>(record) = {index, context->isDemo ? 1 : 0};
    }
}

static void BeginNotes(LoadContext* /*context*/)
{
    journal += "begin " + std::to_string(CurrentPlace.section) + "\n";
}

static void EndNotes(LoadContext* context)
{
    journal += "end " + std::to_string(CurrentPlace.section) + "\n";
    itemsAtEnd = context->itemCount;
}

static void CountDone(void* user)
{
    journal += "done " + std::to_string(++*static_cast<int*>(user)) + "\n";
}

/// Sections 2 and 3 make records, section 10 has no table and a limit of 2, the others only walk.
static std::vector<SectionReader> Readers()
{
    std::vector<SectionReader> readers(kSectionCount);
    readers[1].table = &DemoDocument::textures;
    readers[2] = {&DemoDocument::models, sizeof(Note), 0, BeginNotes, ReadNote, EndNotes};
    readers[3] = {&DemoDocument::envelopes, sizeof(Note), 0, nullptr, ReadNote, nullptr};
    readers[10] = {nullptr, 0, 2, nullptr, ReadNote, EndNotes};
    return readers;
}

class DemoDocumentTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        journal.clear();
    }

    void TearDown() override
    {
        FreeTables();
    }

    void FreeTables()
    {
        for (ObjectTable* table : {demo.textures, demo.models, demo.envelopes})
        {
            if (table != nullptr)
            {
                FreeObjectTable(table);
            }
        }
        demo = {};
    }

    void Read(const std::string& text)
    {
        tree.Parse(text.c_str());
        ASSERT_FALSE(tree.Error()) << tree.ErrorDesc();
        demo.name = "demo.xmlz";
        demo.document = &tree;
        context.document = &demo;
        context.isDemo = true;
        ReadSections(Readers().data(), &context);
    }

    TiXmlDocument tree;
    DemoDocument demo = {};
    LoadContext context = {};
};

using DemoDocumentDeathTest = DemoDocumentTest;

static const std::string kFourSections = "<?xml version=\"1.0\"?><s0/><s1><t/><t/></s1>"
                                         "<s2><m/><m/></s2><s3><e/></s3>";
static const std::string kRestOfSections = "<s4/><s5/><s6/><s7/><s8/><s9/>";

TEST_F(DemoDocumentTest, ASectionIsWhatItIsByItsPlace)
{
    Read(kFourSections + kRestOfSections + "<rows><r/></rows><music file=\"m.xm\"/>");
    EXPECT_EQ(journal, "begin 2\nitem 2.0 m\nitem 2.1 m\nend 2\nitem 3.0 e\n"
                       "item 10.0 r no record\nend 10\n");
    EXPECT_EQ(demo.models->count, 2u);
    EXPECT_EQ(GetRecord<Note>(2, demo.models)->index, 1u); // the n-th item has id n
    EXPECT_EQ(GetRecord<Note>(2, demo.models)->value, 1);
    EXPECT_STREQ(demo.musicNode->ToElement()->Attribute("file"), "m.xm");
}

TEST_F(DemoDocumentTest, TheFirstTopLevelNodeIsSkippedUnseen)
{
    Read("<anything><m/></anything><s0/><s1/><s2><m/></s2><s3/>" + kRestOfSections +
         "<rows/><music/>");
    EXPECT_EQ(demo.models->count, 1u);
    EXPECT_EQ(CountItems(&tree), 1u);
}

TEST_F(DemoDocumentTest, AnEmptySectionGivesAnEmptyTable)
{
    Read("<?xml?><s0/><s1/><s2/><s3><e/></s3>" + kRestOfSections + "<rows/><music/>");
    ASSERT_NE(demo.models, nullptr);
    EXPECT_EQ(demo.models->count, 0u);
    EXPECT_EQ(demo.envelopes->count, 1u);
}

TEST_F(DemoDocumentTest, SectionsWithoutAReaderMakeNoRecordsButATable)
{
    Read(kFourSections + kRestOfSections + "<rows/><music/>");
    ASSERT_NE(demo.textures, nullptr);
    EXPECT_EQ(demo.textures->count, 0u);
}

TEST_F(DemoDocumentTest, EachItemOfEachSectionIsReportedWhenItIsDone)
{
    int done = 0;
    context.itemDone = CountDone;
    context.user = &done;
    Read("<?xml?><s0/><s1><t/></s1><s2><m/></s2><s3/>" + kRestOfSections +
         "<rows><r/></rows><music/>");
    EXPECT_EQ(journal, "done 1\nbegin 2\nitem 2.0 m\ndone 2\nend 2\nitem 10.0 r no record\ndone 3\n"
                       "end 10\n");
}

TEST_F(DemoDocumentTest, ItemsBehindALimitAreNeitherReadNorReported)
{
    int done = 0;
    context.itemDone = CountDone;
    context.user = &done;
    Read("<?xml?><s0/><s1/><s2/><s3/>" + kRestOfSections + "<rows><r/><r/><r/></rows><music/>");
    EXPECT_EQ(done, 2);
}

TEST_F(DemoDocumentTest, TheEndOfASectionSeesHowManyItemsWereRead)
{
    Read("<?xml?><s0/><s1/><s2><m/><m/><m/></s2><s3/>" + kRestOfSections + "<rows/><music/>");
    EXPECT_EQ(itemsAtEnd, 0u);
    FreeTables();
    tree.Clear();
    Read("<?xml?><s0/><s1/><s2/><s3/>" + kRestOfSections + "<rows><r/></rows><music/>");
    EXPECT_EQ(itemsAtEnd, 1u);
    FreeTables();
    tree.Clear();
    Read("<?xml?><s0/><s1/><s2/><s3/>" + kRestOfSections + "<rows><r/><r/><r/></rows><music/>");
    EXPECT_EQ(itemsAtEnd, 2u); // up to the limit
}

TEST_F(DemoDocumentTest, AllChildrenOfSectionsAndMusicNodeCountAsItems)
{
    Read(kFourSections + kRestOfSections + "<rows><r><clip/></r></rows><music><x/></music>");
    EXPECT_EQ(CountItems(&tree), 2u + 2u + 1u + 1u + 1u);
}

TEST_F(DemoDocumentTest, NodesBehindTheMusicCountToo)
{
    Read(kFourSections + kRestOfSections + "<rows/><music/><more><x/><x/></more>");
    EXPECT_EQ(CountItems(&tree), 2u + 2u + 1u + 2u);
    EXPECT_STREQ(demo.musicNode->Value(), "music");
}

TEST_F(DemoDocumentTest, WithoutAMusicNodeThereIsNone)
{
    Read(kFourSections + kRestOfSections + "<rows/>");
    EXPECT_EQ(demo.musicNode, nullptr);
}

TEST_F(DemoDocumentDeathTest, TooFewSectionsAreFatal)
{
    EXPECT_EXIT(Read(kFourSections), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz, section 4 \\(lights\\): the section is missing");
}

TEST_F(DemoDocumentDeathTest, AnItemThatIsNoElementIsFatal)
{
    EXPECT_EXIT(Read("<?xml?><s0/><s1/><s2><m/><!-- no --></s2>"), testing::ExitedWithCode(1),
                "section 2 \\(models\\), item 2: the item is not an element");
}

TEST_F(DemoDocumentDeathTest, MoreItemsThanATableHoldsAreFatal)
{
    std::string items;
    for (int i = 0; i < 4097; ++i)
    {
        items += "<m/>";
    }
    EXPECT_EXIT(Read("<?xml?><s0/><s1/><s2>" + items + "</s2>"), testing::ExitedWithCode(1),
                "section 2 \\(models\\), item 4097: the section holds more than 4096 items");
}

/// A package whose only entry, "demo.xmlz", holds the text.
static FILE* PackageWith(const std::string& text)
{
    return OpenBytes(MakePackage({{"demo.xmlz", MakeContainer(text)}}));
}

/// The same with another size word.
static FILE* PackageWith(const std::string& text, uint8_t sizeWord)
{
    std::string container = MakeContainer(text);
    container.replace(0, 4, std::string{static_cast<char>(sizeWord), 0, 0, 0});
    return OpenBytes(MakePackage({{"demo.xmlz", container}}));
}

TEST(LoadDocument, ReadsTheTreeOutOfThePackage)
{
    FILE* package = PackageWith("<?xml?><a/>\r\n<b/>");
    TiXmlDocument tree;
    EXPECT_TRUE(LoadDocument(package, "demo.xmlz", &tree));
    EXPECT_STREQ(tree.LastChild()->Value(), "b");
    fclose(package);
}

TEST(LoadDocument, IsFalseForAMissingEntry)
{
    FILE* package = PackageWith("<a/>");
    TiXmlDocument tree;
    testing::internal::CaptureStdout();
    EXPECT_FALSE(LoadDocument(package, "loading.xmlz", &tree));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "End of object table reached!\n");
    fclose(package);
}

TEST(LoadDocument, ASizeWordThatIsTooSmallCutsTheText)
{
    FILE* package = PackageWith("<a/><b/><c/>", 8);
    TiXmlDocument tree;
    EXPECT_TRUE(LoadDocument(package, "demo.xmlz", &tree));
    EXPECT_STREQ(tree.LastChild()->Value(), "b");
    fclose(package);
}

TEST(LoadDocumentDeathTest, TextThatDoesNotParseIsFatal)
{
    FILE* package = PackageWith("<a>\n<b></a>");
    TiXmlDocument tree;
    EXPECT_EXIT(
        LoadDocument(package, "demo.xmlz", &tree), testing::ExitedWithCode(1),
        "^quorvale: demo.xmlz: the text does not parse \\(line [0-9]+, column [0-9]+\\)\n$");
    fclose(package);
}

TEST(LoadDocumentDeathTest, TextThatNestsWithoutEndIsFatal)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
    {
        text += "<a>";
    }
    FILE* package = PackageWith(text);
    TiXmlDocument tree;
    EXPECT_EXIT(LoadDocument(package, "demo.xmlz", &tree), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz: the text does not parse");
    fclose(package);
}

TEST(LoadDocumentDeathTest, AnEmptyTextIsFatal)
{
    FILE* package = PackageWith("<a/>", 0);
    TiXmlDocument tree;
    EXPECT_EXIT(LoadDocument(package, "demo.xmlz", &tree), testing::ExitedWithCode(1),
                "^quorvale: demo.xmlz: the text does not parse");
    fclose(package);
}
