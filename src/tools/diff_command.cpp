// SPDX-License-Identifier: MIT
#include "tools/diff_command.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <vector>

#include "engine/check/finding.h"
#include "engine/data/byte_order.h"
#include "engine/data/model_data.h"
#include "engine/data/vocabulary.h"
#include "engine/piece/piece.h"
#include "tools/command_line.h"
#include "tools/container.h"
#include "tools/document_trees.h"
#include "tools/report.h"

/// A comparison while it runs.
struct Comparison
{
    uint32_t count; // of differences
};

static void Tell(Comparison* comparison, const std::string& place, const std::string& what)
{
    printf("%s: %s\n", Printable(place).c_str(), Printable(what).c_str());
    comparison->count += 1;
}

// ---- Trees

/// The contents of a node, all below it included, in one form.
static std::string Said(const TiXmlNode* node)
{
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    node->Accept(&printer);
    return printer.Str();
}

/// Children that are to be compared with those of another parent.
struct ChildList
{
    std::vector<const TiXmlNode*> nodes;
    std::vector<std::string> said;
};

static ChildList ChildrenOf(const TiXmlNode* parent)
{
    ChildList list;
    for (const TiXmlNode* child = parent->FirstChild(); child != nullptr;
         child = child->NextSibling())
    {
        list.nodes.push_back(child);
        list.said.push_back(Said(child));
    }
    return list;
}

static constexpr size_t kNone = static_cast<size_t>(-1);
static constexpr size_t kMostSteps = 25000000; // of a comparison of two lists

static std::string NameOf(const TiXmlNode* node)
{
    return node->ToElement() == nullptr ? "" : AttributeText(node->ToElement(), "name");
}

/// Pairs the children that say the same, in their order, so that as many as possible are pairs.
static void PairSame(const ChildList& a, const ChildList& b, std::vector<size_t>* partner)
{
    size_t first = 0;
    while (first < a.said.size() && first < b.said.size() && a.said[first] == b.said[first])
    {
        (*partner)[first] = first;
        first += 1;
    }
    size_t endA = a.said.size();
    size_t endB = b.said.size();
    while (endA > first && endB > first && a.said[endA - 1] == b.said[endB - 1])
    {
        (*partner)[--endA] = --endB;
    }
    const size_t rows = endA - first;
    const size_t columns = endB - first;
    if (rows == 0 || columns == 0 || rows > kMostSteps / columns)
    {
        return;
    }
    // The longest common part of what is left.
    std::vector<uint32_t> longest((rows + 1) * (columns + 1), 0);
    const auto at = [&longest, columns](size_t i, size_t j) -> uint32_t&
    {
        return longest[i * (columns + 1) + j];
    };
    for (size_t i = rows; i-- > 0;)
    {
        for (size_t j = columns; j-- > 0;)
        {
            at(i, j) = a.said[first + i] == b.said[first + j]
                           ? at(i + 1, j + 1) + 1
                           : std::max(at(i + 1, j), at(i, j + 1));
        }
    }
    for (size_t i = 0, j = 0; i < rows && j < columns;)
    {
        if (a.said[first + i] == b.said[first + j])
        {
            (*partner)[first + i++] = first + j++;
        }
        else
        {
            (at(i + 1, j) >= at(i, j + 1) ? i : j) += 1;
        }
    }
}

static bool IsSameKind(const TiXmlNode* one, const TiXmlNode* other)
{
    return one->Type() == other->Type() &&
           (one->ToElement() == nullptr || strcmp(one->Value(), other->Value()) == 0);
}

/// Pairs children of one name that have no partner so far, then those that follow the same pair.
static void PairRest(const ChildList& a, const ChildList& b, std::vector<size_t>* partner)
{
    std::set<size_t> taken(partner->begin(), partner->end());
    std::map<std::string, size_t> named;
    for (size_t j = b.nodes.size(); j-- > 0;)
    {
        const std::string name = NameOf(b.nodes[j]);
        if (!name.empty() && taken.count(j) == 0)
        {
            named[name] = j;
        }
    }
    for (size_t i = 0; i < a.nodes.size(); ++i)
    {
        const auto found = named.find(NameOf(a.nodes[i]));
        if ((*partner)[i] == kNone && found != named.end())
        {
            (*partner)[i] = found->second;
            taken.insert(found->second);
            named.erase(found);
        }
    }
    size_t next = 0; // in b, after the partner of the child before
    for (size_t i = 0; i < a.nodes.size(); ++i)
    {
        if ((*partner)[i] == kNone && next < b.nodes.size() && taken.count(next) == 0 &&
            IsSameKind(a.nodes[i], b.nodes[next]) && NameOf(a.nodes[i]).empty())
        {
            (*partner)[i] = next;
            taken.insert(next);
        }
        next = (*partner)[i] == kNone ? next : (*partner)[i] + 1;
    }
}

/// How a difference calls one child of a parent.
using ChildLabel = std::string (*)(const TiXmlNode* parent, const TiXmlNode* child, size_t index);

static std::string PartLabel(const TiXmlNode* parent, const TiXmlNode* child, size_t index)
{
    uint32_t sameTags = 0;
    for (const TiXmlNode* other = parent->FirstChild(); other != nullptr;
         other = other->NextSibling())
    {
        sameTags += strcmp(other->Value(), child->Value()) == 0 ? 1 : 0;
    }
    const std::string tag = child->ToElement() == nullptr ? "text" : child->Value();
    return sameTags > 1 ? FormatText("%s %zu", tag.c_str(), index + 1) : tag;
}

static void CompareNodes(Comparison* comparison, const TiXmlNode* a, const TiXmlNode* b,
                         const std::string& place);

static std::string Shown(const std::string& said)
{
    static constexpr size_t kMost = 120;
    return said.size() <= kMost ? said : said.substr(0, kMost) + " ...";
}

static void CompareChildren(Comparison* comparison, const TiXmlNode* a, const TiXmlNode* b,
                            const std::string& place, ChildLabel label)
{
    const ChildList listA = ChildrenOf(a);
    const ChildList listB = ChildrenOf(b);
    std::vector<size_t> partner(listA.nodes.size(), kNone);
    PairSame(listA, listB, &partner);
    PairRest(listA, listB, &partner);

    std::set<size_t> taken;
    for (size_t i = 0; i < listA.nodes.size(); ++i)
    {
        const std::string here = place + ", " + label(a, listA.nodes[i], i);
        if (partner[i] == kNone)
        {
            Tell(comparison, here, "gone: " + Shown(listA.said[i]));
            continue;
        }
        taken.insert(partner[i]);
        const TiXmlNode* other = listB.nodes[partner[i]];
        const std::string there = label(b, other, partner[i]);
        const bool isMoved = label(a, listA.nodes[i], i) != there && NameOf(other) != "" &&
                             NameOf(listA.nodes[i]) == NameOf(other);
        if (isMoved)
        {
            Tell(comparison, here, "is now " + there);
        }
        if (listA.said[i] != listB.said[partner[i]])
        {
            CompareNodes(comparison, listA.nodes[i], other, here);
        }
    }
    for (size_t j = 0; j < listB.nodes.size(); ++j)
    {
        if (taken.count(j) == 0)
        {
            Tell(comparison, place + ", " + label(b, listB.nodes[j], j),
                 "new: " + Shown(listB.said[j]));
        }
    }
}

static void CompareAttributes(Comparison* comparison, const TiXmlElement* a, const TiXmlElement* b,
                              const std::string& place)
{
    for (const TiXmlAttribute* one = a->FirstAttribute(); one != nullptr; one = one->Next())
    {
        const char* other = b->Attribute(one->Name());
        const std::string name = one->Name();
        if (other == nullptr)
        {
            Tell(comparison, place, name + " \"" + one->Value() + "\" is gone");
        }
        else if (strcmp(one->Value(), other) != 0)
        {
            Tell(comparison, place, name + " \"" + one->Value() + "\" is now \"" + other + "\"");
        }
    }
    for (const TiXmlAttribute* other = b->FirstAttribute(); other != nullptr; other = other->Next())
    {
        if (a->Attribute(other->Name()) == nullptr)
        {
            Tell(comparison, place,
                 std::string(other->Name()) + " \"" + other->Value() + "\" is new");
        }
    }
}

static void CompareNodes(Comparison* comparison, const TiXmlNode* a, const TiXmlNode* b,
                         const std::string& place)
{
    const uint32_t before = comparison->count;
    const TiXmlElement* elementA = a->ToElement();
    const TiXmlElement* elementB = b->ToElement();
    if (elementA == nullptr || elementB == nullptr || strcmp(a->Value(), b->Value()) != 0)
    {
        Tell(comparison, place,
             "\"" + Shown(elementA == nullptr ? a->ValueStr() : Said(a)) + "\" is now \"" +
                 Shown(elementB == nullptr ? b->ValueStr() : Said(b)) + "\"");
        return;
    }
    CompareAttributes(comparison, elementA, elementB, place);
    CompareChildren(comparison, a, b, place, PartLabel);
    if (comparison->count == before)
    {
        Tell(comparison, place, "attributes stand in another order");
    }
}

// ---- Documents

template <Section section>
static std::string SectionLabel(const TiXmlNode* parent, const TiXmlNode* child, size_t index)
{
    return child->ToElement() == nullptr ? PartLabel(parent, child, index)
                                         : ItemLabel(section, index, child->ToElement());
}

static constexpr ChildLabel kSectionLabels[] = {
    SectionLabel<Section::kLayers>,    SectionLabel<Section::kTextures>,
    SectionLabel<Section::kModels>,    SectionLabel<Section::kEnvelopes>,
    SectionLabel<Section::kLights>,    SectionLabel<Section::kEffects>,
    SectionLabel<Section::kBitmaps>,   SectionLabel<Section::kMaterials>,
    SectionLabel<Section::kGenMeshes>, SectionLabel<Section::kScenes>,
    SectionLabel<Section::kTimeline>,
};
static_assert(std::size(kSectionLabels) == kSectionCount);

static void CompareDocuments(Comparison* comparison, const DocumentTree& a, const DocumentTree& b)
{
    for (int32_t i = 0; i < kSectionCount; ++i)
    {
        const Section section = static_cast<Section>(i);
        const TiXmlElement* one = SectionElement(a, section);
        const TiXmlElement* other = SectionElement(b, section);
        if (one != nullptr && other != nullptr)
        {
            CompareChildren(comparison, one, other, a.name, kSectionLabels[i]);
        }
        else if (one != other)
        {
            Tell(comparison, std::string(a.name) + ", " + FindVocabularySection(section)->faultName,
                 one == nullptr ? "new" : "gone");
        }
    }
    const TiXmlElement* one = SectionElement(a, Section::kMusic);
    const TiXmlElement* other = SectionElement(b, Section::kMusic);
    if ((one == nullptr) != (other == nullptr))
    {
        Tell(comparison, std::string(a.name) + ", music", one == nullptr ? "new" : "gone");
    }
    else if (one != nullptr && Said(one) != Said(other))
    {
        CompareAttributes(comparison, one, other, std::string(a.name) + ", music");
    }
}

// ---- Entries

/// A package that is compared.
struct ComparedPackage
{
    ListedPackage listed;
    DocumentTree loading;
    DocumentTree demo;
};

static void CompareModels(Comparison* comparison, const std::string& name, const Bytes& a,
                          const Bytes& b)
{
    if (a.size() < kModelHeaderSize || b.size() < kModelHeaderSize)
    {
        Tell(comparison, name, "differs");
        return;
    }
    const auto sum = [](const Bytes& model)
    {
        const uint64_t vertices = LoadLittleEndian32(model.data());
        const uint64_t sets = model[4];
        const uint64_t before = kModelHeaderSize + 8 * (3 + sets) * vertices;
        const uint64_t indices = model.size() < before ? 0 : (model.size() - before) / 4;
        return FormatText(
            "%llu vertices, %llu triangles, %llu sets", static_cast<unsigned long long>(vertices),
            static_cast<unsigned long long>(indices / 3), static_cast<unsigned long long>(sets));
    };
    if (sum(a) != sum(b))
    {
        Tell(comparison, name, sum(a) + ", now " + sum(b));
        return;
    }
    uint64_t words = 0;
    for (size_t i = kModelHeaderSize; i + 4 <= a.size(); i += 4)
    {
        words += memcmp(a.data() + i, b.data() + i, 4) != 0 ? 1 : 0;
    }
    Tell(comparison, name,
         FormatText("%llu of its numbers differ", static_cast<unsigned long long>(words)));
}

static bool CompareEntry(Comparison* comparison, const ComparedPackage& a, const ComparedPackage& b,
                         const ListedEntry& entry)
{
    const std::string place = "\"" + entry.name + "\"";
    const ListedEntry* other = FindEntry(&b.listed, entry.name);
    if (other == nullptr)
    {
        Tell(comparison, place, FormatText("gone, %u bytes", entry.size));
        return true;
    }
    Bytes one;
    Bytes two;
    if (!ReadListedEntry(&a.listed, &entry, &one) || !ReadListedEntry(&b.listed, other, &two))
    {
        return false;
    }
    if (one == two)
    {
        return true;
    }
    Bytes dataOne;
    Bytes dataTwo;
    if (UnpackContainer(one, &dataOne) != nullptr || UnpackContainer(two, &dataTwo) != nullptr)
    {
        Tell(comparison, place, FormatText("%zu bytes, now %zu", one.size(), two.size()));
    }
    else if (dataOne != dataTwo)
    {
        CompareModels(comparison, place, dataOne, dataTwo);
    }
    return true;
}

static bool ComparePackages(Comparison* comparison, const ComparedPackage& a,
                            const ComparedPackage& b)
{
    const bool areBothRead[] = {a.loading.isRead && b.loading.isRead,
                                a.demo.isRead && b.demo.isRead};
    if (areBothRead[0])
    {
        CompareDocuments(comparison, a.loading, b.loading);
    }
    if (areBothRead[1])
    {
        CompareDocuments(comparison, a.demo, b.demo);
    }
    for (const ListedEntry& entry : a.listed.entries)
    {
        const bool isCompared = (entry.name == kLoadingDocumentName && areBothRead[0]) ||
                                (entry.name == kDemoDocumentName && areBothRead[1]);
        if (!isCompared && !CompareEntry(comparison, a, b, entry))
        {
            return false;
        }
    }
    for (const ListedEntry& entry : b.listed.entries)
    {
        if (FindEntry(&a.listed, entry.name) == nullptr)
        {
            Tell(comparison, "\"" + entry.name + "\"", FormatText("new, %u bytes", entry.size));
        }
    }
    return true;
}

static bool ReadDocuments(ComparedPackage* package)
{
    return ReadDocumentTree(&package->listed, kLoadingDocumentName, &package->loading) &&
           ReadDocumentTree(&package->listed, kDemoDocumentName, &package->demo);
}

int PrintPackageDiff(const std::string& one, const std::string& other)
{
    ComparedPackage a;
    ComparedPackage b;
    if (!OpenPackage(one, PackageUse::kReading, &a.listed))
    {
        return kExitUsage;
    }
    if (!OpenPackage(other, PackageUse::kReading, &b.listed))
    {
        ClosePackage(&a.listed);
        return kExitUsage;
    }
    Comparison comparison = {0};
    const bool isDone =
        ReadDocuments(&a) && ReadDocuments(&b) && ComparePackages(&comparison, a, b);
    ClosePackage(&a.listed);
    ClosePackage(&b.listed);
    if (!isDone)
    {
        return kExitUsage;
    }
    return comparison.count == 0 ? kExitDone : kExitFailed;
}
