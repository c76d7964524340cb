// The texture coordinate arrays of the two texture units.
//
// Recipes turn the arrays on and off and point them at the coordinates of the object that is being
// drawn, and each leaves behind what it does not touch. So an array may still be on, and point at
// an earlier object's coordinates, when an object is drawn whose material sets none: OpenGL would
// read past their end if that object has more vertices. Such an array is off while it is drawn.
#pragma once

#include <cstdint>

inline constexpr uint32_t kTextureUnits = 2;

/// Texture coordinates of the object that is being drawn; DrawSceneObjects sets them. With buffer
/// objects the names count, otherwise the arrays.
struct TexCoordSource
{
    const float* texcoord0Array; // [vertexCount][2], borrowed
    const float* texcoord1Array; // [vertexCount][2], borrowed
    uint32_t texcoord0Buffer;    // OpenGL buffer names
    uint32_t texcoord1Buffer;
    uint32_t vertexCount; // of the object's mesh
};

/// What OpenGL was told of the arrays; all zero in a fresh context. Only the routines below touch
/// the arrays and select units, and they keep this up to date.
struct TexCoordArrays
{
    uint32_t unit; // the selected one
    bool enabled[kTextureUnits];
    uint32_t vertexCount[kTextureUnits]; // that the coordinates pointed at are for
};

/// Main thread only.
extern TexCoordSource CurrentTexCoords;
extern TexCoordArrays CurrentTexCoordArrays;

/// Selects a texture unit, 0 or 1, for calls of the server's and of the client's side.
void SelectTextureUnit(uint32_t unit);

/// Turns the selected unit's array on, or off.
void EnableTexCoords();
void DisableTexCoords();

/// Points the selected unit's array at the object's first or second coordinates. With `vbo` it
/// leaves their buffer bound to GL_ARRAY_BUFFER.
void SetFirstTexCoords(int32_t vbo);
void SetSecondTexCoords(int32_t vbo);

/// Turns off arrays that are on and have coordinates for fewer vertices than are drawn, until
/// ShowTexCoords. Calls nothing if there are none. Leaves: the selected unit as it is.
/// @return the units, unit n's bit at 1 << n, for ShowTexCoords
uint32_t HideShortTexCoords(uint32_t vertexCount);

/// Turns on again what HideShortTexCoords turned off; they point where they did.
void ShowTexCoords(uint32_t hidden);
