#include "engine/check/context.h"

/// A player with music on asks for the node.
static void CheckMusicNode(CheckContext* context)
{
    CheckedDocument* checked = context->demo.isThere ? &context->demo : &context->loading;
    if (!checked->isWhole)
    {
        return; // told as missing sections, or as a missing document
    }
    const TiXmlNode* node = checked->document.musicNode;
    const Spot spot = {context, checked, Section::kMusic, 0, 0, nullptr};
    if (node == nullptr || node->ToElement() == nullptr)
    {
        AddFinding(&spot, Severity::kError, Rule::kMissingSection, node,
                   node == nullptr ? "the music node is missing" : "the music node is no element")
            ->cure = "end the document with <music file=\"NAME.xm\"/>, or with <music/>";
    }
}

void CheckPackage(CheckContext* context, const char* /*musicFolder*/)
{
    CheckMusicNode(context);
}
