#include "player/inner_calls.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "engine/data/cos_table.h"
#include "engine/data/demo_document.h"
#include "engine/data/fault.h"
#include "engine/data/object_table.h"
#include "engine/data/package_file.h"
#include "engine/render/timeline.h"
#include "engine/textures/corner_masks.h"
#include "engine/textures/layer_generator.h"
#include "support/recorded_gl.h"

// The names that the linker's --wrap gives: calls of a symbol go to __wrap_symbol, and the symbol
// itself is called __real_symbol.
void RealBuildCosTable() asm("__real__Z13BuildCosTablev");
void WrappedBuildCosTable() asm("__wrap__Z13BuildCosTablev");
void RealBuildCornerMasks() asm("__real__Z16BuildCornerMasksv");
void WrappedBuildCornerMasks() asm("__wrap__Z16BuildCornerMasksv");
bool RealLoadDocument(FILE* package, const char* name, TiXmlDocument* document) asm(
    "__real__Z12LoadDocumentP8_IO_FILEPKcP13TiXmlDocument");
bool WrappedLoadDocument(FILE* package, const char* name, TiXmlDocument* document) asm(
    "__wrap__Z12LoadDocumentP8_IO_FILEPKcP13TiXmlDocument");
void RealFreeLayers(LoadContext* context) asm("__real__Z10FreeLayersP11LoadContext");
void WrappedFreeLayers(LoadContext* context) asm("__wrap__Z10FreeLayersP11LoadContext");
Timeline* RealCreateTimeline() asm("__real__Z14CreateTimelinev");
Timeline* WrappedCreateTimeline() asm("__wrap__Z14CreateTimelinev");
ObjectTable* RealCreateObjectTable(uint32_t recordSize) asm("__real__Z17CreateObjectTablej");
ObjectTable* WrappedCreateObjectTable(uint32_t recordSize) asm("__wrap__Z17CreateObjectTablej");
void RealFreeObjectTable(ObjectTable* table) asm("__real__Z15FreeObjectTableP11ObjectTable");
void WrappedFreeObjectTable(ObjectTable* table) asm("__wrap__Z15FreeObjectTableP11ObjectTable");
FILE* RealFindPackage() asm("__real__Z11FindPackagev");
FILE* WrappedFindPackage() asm("__wrap__Z11FindPackagev");
int RealFclose(FILE* stream) asm("__real_fclose");
int WrappedFclose(FILE* stream) asm("__wrap_fclose");
void RealFree(void* block) asm("__real_free");
void WrappedFree(void* block) asm("__wrap_free");

static bool following;
static Timeline* timelines[2]; // in the order of their making: loading's, the demo's
static FILE* package;

static std::map<const ObjectTable*, std::string>& TableNames()
{
    static std::map<const ObjectTable*, std::string> names;
    return names;
}

static void Record(const std::string& line)
{
    if (following)
    {
        RecordCall(line);
    }
}

void FollowInnerCalls()
{
    following = true;
}

void WrappedBuildCosTable()
{
    RealBuildCosTable();
    Record("BuildCosTable");
}

void WrappedBuildCornerMasks()
{
    RealBuildCornerMasks();
    Record("BuildCornerMasks");
}

bool WrappedLoadDocument(FILE* stream, const char* name, TiXmlDocument* document)
{
    Record(std::string("LoadDocument ") + name);
    return RealLoadDocument(stream, name, document);
}

void WrappedFreeLayers(LoadContext* context)
{
    uint32_t count = context->layerCount;
    RealFreeLayers(context);
    Record(std::string("FreeLayers ") + context->document->name + " " +
           std::to_string(count - context->layerCount));
}

Timeline* WrappedCreateTimeline()
{
    Timeline* timeline = RealCreateTimeline();
    timelines[timelines[0] == nullptr ? 0 : 1] = timeline;
    return timeline;
}

ObjectTable* WrappedCreateObjectTable(uint32_t recordSize)
{
    ObjectTable* table = RealCreateObjectTable(recordSize);
    TableNames()[table] =
        std::string(CurrentPlace.document) + " section " + std::to_string(CurrentPlace.section);
    return table;
}

void WrappedFreeObjectTable(ObjectTable* table)
{
    Record("FreeObjectTable " + TableNames()[table]);
    RealFreeObjectTable(table);
}

FILE* WrappedFindPackage()
{
    package = RealFindPackage();
    return package;
}

int WrappedFclose(FILE* stream)
{
    if (stream != nullptr && stream == package)
    {
        Record("ClosePackage");
        package = nullptr;
    }
    return RealFclose(stream);
}

void WrappedFree(void* block)
{
    for (int i = 0; i < 2; ++i)
    {
        if (block != nullptr && block == timelines[i])
        {
            timelines[i] = nullptr; // its place may hold something else from now on
            Record(i == 0 ? "FreeTimeline loading.xmlz" : "FreeTimeline demo.xmlz");
        }
    }
    RealFree(block);
}
