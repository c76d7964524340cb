// SPDX-License-Identifier: MIT
#include "assimp_normals.h"

#include <assimp/Importer.hpp>
#include <assimp/config.h>
#include <assimp/postprocess.h>
#include <assimp/scene.h>
#include <string>

struct AssimpMesh
{
    Assimp::Importer importer;
};

AssimpMesh* CreateAssimpMesh(const float* vertices, const uint32_t* indices, uint32_t indexCount)
{
    std::string text =
        "ply\nformat binary_little_endian 1.0\nelement vertex " + std::to_string(indexCount) +
        "\nproperty float x\nproperty float y\nproperty float z\nelement face " +
        std::to_string(indexCount / 3) + "\nproperty list uchar uint vertex_indices\nend_header\n";
    for (uint32_t i = 0; i < indexCount; ++i)
    {
        text.append(reinterpret_cast<const char*>(vertices + 3 * indices[i]), 12);
    }
    for (uint32_t i = 0; i + 3 <= indexCount; i += 3)
    {
        const uint32_t corners[3] = {i, i + 1, i + 2};
        text.push_back(3);
        text.append(reinterpret_cast<const char*>(corners), 12);
    }
    AssimpMesh* mesh = new AssimpMesh;
    mesh->importer.SetPropertyFloat(AI_CONFIG_PP_GSN_MAX_SMOOTHING_ANGLE, 175.0f);
    mesh->importer.ReadFileFromMemory(text.data(), text.size(), 0, "ply");
    return mesh;
}

void FreeAssimpMesh(AssimpMesh* mesh)
{
    delete mesh;
}

bool AssimpSmoothNormals(AssimpMesh* mesh)
{
    const aiScene* scene =
        mesh->importer.ApplyPostProcessing(aiProcess_GenSmoothNormals | aiProcess_ForceGenNormals);
    return scene != nullptr && scene->mNumMeshes == 1 && scene->mMeshes[0]->HasNormals();
}
