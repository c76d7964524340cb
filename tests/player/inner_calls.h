// Calls between the player's rooms, written into the record of the stand-ins where a test asks for
// them. The linker puts these in the place of the real ones, which they run:
//
//   BuildCosTable()                     BuildCosTable                       once it is complete
//   BuildCornerMasks()                  BuildCornerMasks
//   LoadDocument(.., "demo.xmlz", ..)   LoadDocument demo.xmlz              before it looks
//   FreeLayers(context)                 FreeLayers demo.xmlz 2              layers that went
//   free(loading.timeline)              FreeTimeline loading.xmlz
//   FreeObjectTable(demo.scenes)        FreeObjectTable demo.xmlz section 9
//   fclose(package)                     ClosePackage
#pragma once

/// Writes them down from now on. Nothing of a run may have been called yet.
void FollowInnerCalls();
