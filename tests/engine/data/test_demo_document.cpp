// SPDX-License-Identifier: MIT
#include "engine/data/demo_document.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "engine/data/document_text.h"
#include "support/fault_text.h"
#include "support/package_builder.h"

/// A record of these tests: what the reader saw.
struct Note
{
    uint32_t index;
    int value;
};

static std::string journal; // what the readers did, in order
static uint32_t itemsAtEnd; // of the last section that ended

/// The reader fails at the item with this index; none if it is negative.
static int failingIndex = -1;

static int SectionOf(const ReadContext* context)
{
    return static_cast<int>(context->faults->place.section);
}

static bool ReadNote(const TiXmlElement* item, void* record, uint32_t index, ReadContext* context)
{
    journal += "item " + std::to_string(SectionOf(context)) + "." + std::to_string(index) + " " +
               item->Value() + (record == nullptr ? " no record\n" : "\n");
    if (static_cast<int>(index) == failingIndex)
    {
        AddFault(context->faults, "no note");
        return false;
    }
    if (record != nullptr)
    {
        *static_cast<Note*>(record) = {index, context->isDemo ? 1 : 0};
    }
    return true;
}

static bool BeginNotes(ReadContext* context)
{
    journal += "begin " + std::to_string(SectionOf(context)) + " of " +
               std::to_string(context->sectionItems) + "\n";
    return true;
}

static bool EndNotes(ReadContext* context)
{
    journal += "end " + std::to_string(SectionOf(context)) + "\n";
    itemsAtEnd = context->itemCount;
    return true;
}

static bool FailHook(ReadContext* context)
{
    AddFault(context->faults, "no hook");
    return false;
}

static void FreeNote(void* record)
{
    journal += "free " + std::to_string(static_cast<Note*>(record)->value) + "\n";
}

/// Sections 2 and 3 make records, section 10 has no table and a limit of 2, the others only walk.
static std::vector<SectionReader> Readers()
{
    std::vector<SectionReader> readers(kSectionCount);
    readers[1].table = &DemoDocument::textures;
    readers[2] = {&DemoDocument::models, sizeof(Note), 0, BeginNotes, ReadNote, EndNotes, FreeNote};
    readers[3] = {&DemoDocument::envelopes, sizeof(Note), 0, nullptr, ReadNote, nullptr, nullptr};
    readers[10] = {nullptr, 0, 2, BeginNotes, ReadNote, EndNotes, nullptr};
    return readers;
}

class DemoDocumentTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        failingIndex = -1;
        readers = Readers();
        Forget();
    }

    void TearDown() override
    {
        Forget();
    }

    /// Gives back what was read.
    void Forget()
    {
        FreeDocument(readers.data(), &demo);
        FreeFaults(&faults);
        journal.clear();
    }

    /// Makes the tree of the document.
    void Parse(const std::string& text)
    {
        Forget();
        demo.name = "demo.xmlz";
        demo.document = new TiXmlDocument();
        demo.document->Parse(text.c_str());
        context = {};
        context.document = &demo;
        context.isDemo = true;
        context.faults = &faults;
    }

    void Read(const std::string& text)
    {
        Parse(text);
        ASSERT_TRUE(ReadSections(readers.data(), &context)) << FaultText(faults);
    }

    /// The lines of reading a text that is no document.
    std::string FaultOf(const std::string& text)
    {
        Parse(text);
        EXPECT_FALSE(ReadSections(readers.data(), &context));
        return FaultText(faults);
    }

    std::vector<SectionReader> readers;
    DemoDocument demo = {};
    FaultList faults = {};
    ReadContext context = {};
};

static const std::string kFourSections = "<?xml version=\"1.0\"?><s0/><s1><t/><t/></s1>"
                                         "<s2><m/><m/></s2><s3><e/></s3>";
static const std::string kRestOfSections = "<s4/><s5/><s6/><s7/><s8/><s9/>";

TEST_F(DemoDocumentTest, ASectionIsWhatItIsByItsPlace)
{
    Read(kFourSections + kRestOfSections + "<rows><r/></rows><music file=\"m.xm\"/>");
    EXPECT_EQ(journal, "begin 2 of 2\nitem 2.0 m\nitem 2.1 m\nend 2\nitem 3.0 e\n"
                       "begin 10 of 1\nitem 10.0 r no record\nend 10\n");
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
    EXPECT_EQ(CountItems(&demo), 1u);
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

TEST_F(DemoDocumentTest, ItemsAreReadOneByOne)
{
    Parse("<?xml?><s0/><s1><t/></s1><s2><m/></s2><s3/>" + kRestOfSections +
          "<rows><r/><r/><r/></rows><music/>");
    DocumentReader reader;
    ItemPlace item = {};
    BeginReading(readers.data(), &context, &reader);

    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kItem); // section 1 only walks
    EXPECT_EQ(item.section, Section::kTextures);
    EXPECT_EQ(item.id, 1u);
    EXPECT_EQ(item.record, nullptr);
    EXPECT_EQ(journal, "");

    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kItem);
    EXPECT_EQ(item.section, Section::kModels);
    EXPECT_EQ(item.id, 1u);
    EXPECT_EQ(item.record, GetRecord<Note>(1, demo.models));
    EXPECT_EQ(journal, "begin 2 of 1\nitem 2.0 m\n");
    EXPECT_EQ(faults.place.section, Section::kModels);
    EXPECT_EQ(faults.place.item, 1u);

    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kItem);
    EXPECT_EQ(item.section, Section::kTimeline);
    EXPECT_EQ(item.record, nullptr);
    EXPECT_EQ(journal, "begin 2 of 1\nitem 2.0 m\nend 2\nbegin 10 of 2\nitem 10.0 r no record\n");

    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kItem);
    EXPECT_EQ(item.id, 2u);
    EXPECT_EQ(demo.musicNode, nullptr);
    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kDone); // the third row is past the limit
    EXPECT_STREQ(demo.musicNode->Value(), "music");
    EXPECT_EQ(faults.place.section, Section::kNone);
    EXPECT_EQ(ReadNextItem(&reader, &item), ReadStep::kDone);
}

TEST_F(DemoDocumentTest, ThePlaceFollowsTheText)
{
    Parse("<?xml?><s0/><s1/>\n<s2><m/>\n  <m/></s2><s3/>" + kRestOfSections + "<rows/><music/>");
    DocumentReader reader;
    ItemPlace item = {};
    BeginReading(readers.data(), &context, &reader);
    ReadNextItem(&reader, &item);
    ReadNextItem(&reader, &item);
    EXPECT_EQ(faults.place.item, 2u);
    EXPECT_EQ(faults.place.line, 3);
    EXPECT_EQ(faults.place.column, 3);
}

TEST_F(DemoDocumentTest, TheEndOfASectionSeesHowManyItemsWereRead)
{
    Read("<?xml?><s0/><s1/><s2><m/><m/><m/></s2><s3/>" + kRestOfSections + "<rows/><music/>");
    EXPECT_EQ(itemsAtEnd, 0u);
    Read("<?xml?><s0/><s1/><s2/><s3/>" + kRestOfSections + "<rows><r/></rows><music/>");
    EXPECT_EQ(itemsAtEnd, 1u);
    Read("<?xml?><s0/><s1/><s2/><s3/>" + kRestOfSections + "<rows><r/><r/><r/></rows><music/>");
    EXPECT_EQ(itemsAtEnd, 2u); // up to the limit
}

TEST_F(DemoDocumentTest, AllChildrenOfSectionsAndMusicNodeCountAsItems)
{
    Read(kFourSections + kRestOfSections + "<rows><r><clip/></r></rows><music><x/></music>");
    EXPECT_EQ(CountItems(&demo), 2u + 2u + 1u + 1u + 1u);
}

TEST_F(DemoDocumentTest, NodesAfterTheMusicCountToo)
{
    Read(kFourSections + kRestOfSections + "<rows/><music/><more><x/><x/></more>");
    EXPECT_EQ(CountItems(&demo), 2u + 2u + 1u + 2u);
    EXPECT_STREQ(demo.musicNode->Value(), "music");
}

TEST_F(DemoDocumentTest, WithoutAMusicNodeThereIsNone)
{
    Read(kFourSections + kRestOfSections + "<rows/>");
    EXPECT_EQ(demo.musicNode, nullptr);
}

TEST_F(DemoDocumentTest, WithoutATreeThereAreNoItems)
{
    demo = {};
    EXPECT_EQ(CountItems(&demo), 0u);
}

TEST_F(DemoDocumentTest, TooFewSectionsAreAFault)
{
    EXPECT_EQ(FaultOf(kFourSections), "quorvale: demo.xmlz, section 4 (lights): "
                                      "the section is missing: a document has 11 of them\n");
    EXPECT_EQ(FaultOf("<only/>"), "quorvale: demo.xmlz, section 0 (layers): "
                                  "the section is missing: a document has 11 of them\n");
    EXPECT_EQ(FaultOf("<?xml?>"), "quorvale: demo.xmlz, section 0 (layers): "
                                  "the section is missing: a document has 11 of them\n");
}

TEST_F(DemoDocumentTest, AMissingSectionTellsWhereTheTextStopped)
{
    EXPECT_EQ(FaultOf("<?xml?><s0/>\n<s1></s2>"),
              "quorvale: demo.xmlz, section 2 (models): the section is missing: the text does not "
              "parse (line 2, column 5)\n");
    EXPECT_EQ(GetFault(&faults, 0)->place.line, 2);
    EXPECT_EQ(FaultOf(kFourSections + "<s4></s5>"),
              "quorvale: demo.xmlz, section 5 (2D effects): the section is missing: the text does "
              "not parse (line 1, column 78)\n");
}

TEST_F(DemoDocumentTest, TextThatStopsAfterTheMusicIsRead)
{
    Read(kFourSections + kRestOfSections + "<rows><r/></rows><music/><more></less>");
    EXPECT_TRUE(HasStoppedParsing(demo.document));
    EXPECT_STREQ(demo.musicNode->Value(), "music");
}

TEST_F(DemoDocumentTest, AnItemThatIsNoElementIsAFault)
{
    EXPECT_EQ(FaultOf("<?xml?><s0/><s1/><s2><m/><!-- no --></s2>"),
              "quorvale: demo.xmlz, section 2 (models), item 2: the item is not an element\n");
}

TEST_F(DemoDocumentTest, MoreItemsThanATableHoldsAreAFault)
{
    std::string items;
    for (int i = 0; i < 4097; ++i)
    {
        items += "<m/>";
    }
    EXPECT_EQ(FaultOf("<?xml?><s0/><s1/><s2>" + items + "</s2>"),
              "quorvale: demo.xmlz, section 2 (models), item 4097: "
              "the section holds more than 4096 items\n");
}

TEST_F(DemoDocumentTest, AReaderThatFailsEndsTheReading)
{
    failingIndex = 1;
    EXPECT_EQ(FaultOf(kFourSections + kRestOfSections + "<rows/><music/>"),
              "quorvale: demo.xmlz, section 2 (models), item 2: no note\n");
    EXPECT_EQ(journal, "begin 2 of 2\nitem 2.0 m\nitem 2.1 m\n");
    EXPECT_EQ(demo.envelopes, nullptr);
    EXPECT_EQ(demo.musicNode, nullptr);

    journal.clear();
    FreeDocument(readers.data(), &demo);
    EXPECT_EQ(journal, "free 1\nfree 0\n"); // the record that was not read is all zeros
    EXPECT_EQ(demo.models, nullptr);
    EXPECT_EQ(demo.document, nullptr);
    EXPECT_STREQ(demo.name, "demo.xmlz");
}

TEST_F(DemoDocumentTest, AHookThatFailsEndsTheReading)
{
    readers[2].begin = FailHook;
    EXPECT_EQ(FaultOf(kFourSections + kRestOfSections + "<rows/><music/>"),
              "quorvale: demo.xmlz, section 2 (models): no hook\n");
    EXPECT_EQ(journal, "");

    readers[2].begin = nullptr;
    readers[2].end = FailHook;
    EXPECT_EQ(FaultOf(kFourSections + kRestOfSections + "<rows/><music/>"),
              "quorvale: demo.xmlz, section 2 (models): no hook\n");
    EXPECT_EQ(demo.envelopes, nullptr);
}

/// A document that was asked for, and what there was to say.
struct Loaded
{
    explicit Loaded(const std::string& entry, const char* name = "demo.xmlz")
    {
        const std::string bytes = MakePackage({{"demo.xmlz", entry}});
        PackageFile package;
        EXPECT_TRUE(OpenPackageMemory(reinterpret_cast<const unsigned char*>(bytes.data()),
                                      bytes.size(), &package, &faults));
        const uint64_t budget = package.budget.bytesLeft;
        document.name = name;
        isLoaded = LoadDocument(&package, &document, &faults);
        taken = budget - package.budget.bytesLeft;
        printed = FaultText(faults);
        ClosePackage(&package);
    }
    ~Loaded()
    {
        const std::vector<SectionReader> none(kSectionCount);
        FreeDocument(none.data(), &document);
        FreeFaults(&faults);
    }
    Loaded(const Loaded&) = delete;
    Loaded& operator=(const Loaded&) = delete;

    DemoDocument document = {};
    FaultList faults = {};
    bool isLoaded = false;
    std::string printed;
    uint64_t taken = 0; // bytes of the package's budget
};

TEST(LoadDocument, TheTreeStaysInThePiecesBudget)
{
    // 256 bytes for each of two elements and an attribute, and the 14 of the text.
    EXPECT_EQ(Loaded(MakeContainer("<a/><b c='d'/>")).taken, 3u * 256 + 14);
    EXPECT_EQ(Loaded(MakeContainer("<a/>"), "loading.xmlz").taken, 0u);
}

TEST(LoadDocument, ATreeBeyondThePiecesBudgetIsAFault)
{
    EXPECT_EQ(Loaded(MakeContainer(std::string(2 << 20, '<'))).printed,
              "quorvale: demo.xmlz: a package of this size may not take so much memory\n");
}

/// A container with another size word.
static std::string Resized(std::string container, uint8_t sizeWord)
{
    container.replace(0, 4, std::string{static_cast<char>(sizeWord), 0, 0, 0});
    return container;
}

TEST(LoadDocument, ReadsTheTreeOutOfThePackage)
{
    const Loaded loaded(MakeContainer("<?xml?><a/>\r\n<b/>"));
    EXPECT_TRUE(loaded.isLoaded);
    EXPECT_STREQ(loaded.document.document->LastChild()->Value(), "b");
}

TEST(LoadDocument, IsFalseWithoutAFaultForAMissingEntry)
{
    const Loaded loaded(MakeContainer("<a/>"), "loading.xmlz");
    EXPECT_FALSE(loaded.isLoaded);
    EXPECT_EQ(loaded.printed, "");
    EXPECT_EQ(loaded.document.document, nullptr);
}

TEST(LoadDocument, ASizeWordThatIsTooSmallCutsTheText)
{
    const Loaded loaded(Resized(MakeContainer("<a/><b/><c/>"), 8));
    EXPECT_TRUE(loaded.isLoaded);
    EXPECT_STREQ(loaded.document.document->LastChild()->Value(), "b");
}

TEST(LoadDocument, TextThatStopsParsingGivesTheNodesBefore)
{
    const Loaded loaded(MakeContainer("<?xml?><a><b/></a><c><d/><e"));
    EXPECT_TRUE(loaded.isLoaded);
    EXPECT_EQ(loaded.printed, "");
    const TiXmlNode* a = loaded.document.document->FirstChild()->NextSibling();
    EXPECT_STREQ(a->FirstChild()->Value(), "b");
    EXPECT_STREQ(a->NextSibling()->FirstChild()->Value(), "d"); // the element that breaks off too
}

TEST(LoadDocument, AWrongChecksumHarmsNothing)
{
    std::string container = MakeContainer("<a/><b/>");
    container.back() = static_cast<char>(container.back() + 1);
    EXPECT_TRUE(Loaded(container).isLoaded);
}

TEST(LoadDocument, TextThatNestsWithoutEndIsAFault)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
    {
        text += "<a>";
    }
    EXPECT_EQ(Loaded(MakeContainer(text)).printed,
              "quorvale: demo.xmlz: the text nests deeper than 1000 elements\n");
}

TEST(LoadDocument, NoTextIsADocumentWithoutNodes)
{
    for (const std::string& container :
         {Resized(MakeContainer("<a/>"), 0), std::string(4, '\x01'), std::string()})
    {
        const Loaded loaded(container);
        EXPECT_TRUE(loaded.isLoaded);
        EXPECT_EQ(loaded.document.document->FirstChild(), nullptr);
    }
}

TEST(LoadDocument, TextOfMoreThan64MiBIsAFault)
{
    std::string text((64 << 20) + 1, ' ');
    EXPECT_EQ(Loaded(MakeContainer(text)).printed,
              "quorvale: demo.xmlz: a text of more than 67108864 bytes is larger than any "
              "document\n");
    text.replace(0, 4, "<a/>");
    text.pop_back();
    EXPECT_TRUE(Loaded(MakeContainer(text)).isLoaded);
}

TEST(LoadDocument, ASizeWordThatIsTooLargeHarmsNothing)
{
    std::string container = MakeContainer("<a/><b/>");
    container.replace(0, 4, std::string{0, 0, 0, 0x40}); // 1 GiB
    EXPECT_TRUE(Loaded(container).isLoaded);
}
