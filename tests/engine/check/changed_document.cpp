// SPDX-License-Identifier: MIT
#include "changed_document.h"

#include <iterator>
#include <tinyxml.h>
#include <vector>

static constexpr const char* kValues[] = {
    "0",       "1",       "2",           "3",          "5",    "7",    "99",     "-1",
    "4096",    "4097",    "1000000",     "4294967295", "1000", "1e9",  "abc",    "",
    "1,5",     "0x10",    "nan",         "inf",        "0.5",  "-3.5", " 7x",    "static",
    "Dynamic", "dynamic", "ortographic", "triangle",   "200",  "6",    "256x256"};

/// All elements below the top level.
static void CollectElements(TiXmlNode* node, std::vector<TiXmlElement*>* elements)
{
    for (TiXmlNode* child = node->FirstChild(); child != nullptr; child = child->NextSibling())
    {
        if (child->ToElement() != nullptr)
        {
            elements->push_back(child->ToElement());
        }
        CollectElements(child, elements);
    }
}

static TiXmlElement* PickElement(TiXmlDocument* document, Random* random)
{
    // Sections are picked at times too, and then most of the document moves. Items are picked
    // through a section, so that the large sections do not take all changes.
    std::vector<TiXmlElement*> elements;
    TiXmlNode* section = document->FirstChild();
    for (int32_t skip = Between(random, 0, 12); skip > 0 && section != nullptr; --skip)
    {
        section = section->NextSibling();
    }
    if (section == nullptr)
    {
        section = document;
    }
    CollectElements(Chance(random, 90) ? section : document, &elements);
    if (elements.empty())
    {
        return nullptr;
    }
    return elements[static_cast<size_t>(
        Between(random, 0, static_cast<int32_t>(elements.size()) - 1))];
}

static TiXmlAttribute* PickAttribute(TiXmlElement* element, Random* random)
{
    TiXmlAttribute* attribute = element->FirstAttribute();
    while (attribute != nullptr && attribute->Next() != nullptr && Chance(random, 50))
    {
        attribute = attribute->Next();
    }
    return attribute;
}

static const char* PickValue(Random* random)
{
    return kValues[Between(random, 0, static_cast<int32_t>(std::size(kValues)) - 1)];
}

static void ChangeValue(TiXmlElement* element, Random* random)
{
    TiXmlAttribute* attribute = PickAttribute(element, random);
    if (attribute != nullptr)
    {
        attribute->SetValue(PickValue(random));
        return;
    }
    if (element->FirstChild() != nullptr && element->FirstChild()->ToText() != nullptr)
    {
        element->FirstChild()->SetValue(PickValue(random));
    }
}

static void CopyElement(TiXmlElement* element, Random* random)
{
    const int32_t copies = Chance(random, 80) ? 1 : Between(random, 2, 40);
    for (int32_t i = 0; i < copies; ++i)
    {
        element->Parent()->InsertAfterChild(element, *element);
    }
}

static void MoveElement(TiXmlElement* element, TiXmlElement* other)
{
    if (other == nullptr || other == element)
    {
        return;
    }
    for (TiXmlNode* above = other; above != nullptr; above = above->Parent())
    {
        if (above == element)
        {
            return; // not below itself
        }
    }
    other->Parent()->InsertBeforeChild(other, *element);
    element->Parent()->RemoveChild(element);
}

static void ChangeOnce(TiXmlDocument* document, Random* random)
{
    TiXmlElement* element = PickElement(document, random);
    if (element == nullptr)
    {
        return;
    }
    const int32_t kind = Between(random, 0, 99);
    if (kind < 60)
    {
        ChangeValue(element, random);
    }
    else if (kind < 68)
    {
        const TiXmlAttribute* attribute = PickAttribute(element, random);
        if (attribute != nullptr)
        {
            element->RemoveAttribute(std::string(attribute->Name()).c_str());
        }
    }
    else if (kind < 75)
    {
        element->Parent()->RemoveChild(element);
    }
    else if (kind < 84)
    {
        CopyElement(element, random);
    }
    else if (kind < 90)
    {
        MoveElement(element, PickElement(document, random));
    }
    else if (kind < 97)
    {
        static constexpr const char* kNames[] = {"p", "layer", "effect2d", "manipulator", "other"};
        element->SetValue(kNames[Between(random, 0, static_cast<int32_t>(std::size(kNames)) - 1)]);
    }
    else
    {
        TiXmlComment comment;
        comment.SetValue("comment");
        element->Parent()->InsertAfterChild(element, comment);
    }
}

std::string ChangeDocument(const std::string& text, int changes, Random* random)
{
    TiXmlDocument document;
    document.Parse(text.c_str());
    for (int i = 0; i < changes; ++i)
    {
        ChangeOnce(&document, random);
    }
    TiXmlPrinter printer;
    printer.SetStreamPrinting();
    document.Accept(&printer);
    std::string changed = printer.Str();
    if (Chance(random, 2))
    {
        changed.resize(changed.size() * static_cast<size_t>(Between(random, 0, 99)) / 100);
    }
    return changed;
}
