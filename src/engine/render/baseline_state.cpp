// SPDX-License-Identifier: MIT
#include "engine/render/baseline_state.h"

#include <GL/glew.h>

GlFeatures DetectFeatures()
{
    GlFeatures features;
    features.vbo = GLEW_ARB_vertex_buffer_object ? 1 : 0;
    features.pbo = GLEW_ARB_pixel_buffer_object && GLEW_VERSION_2_1 ? 1 : 0;
    features.npot = GLEW_ARB_texture_non_power_of_two ? 1 : 0;
    features.dot3 = GLEW_ARB_texture_env_dot3 ? 1 : 0;
    return features;
}

void SetBaselineState()
{
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL_LEQUAL);
    glShadeModel(GL_SMOOTH);
    glEnable(GL_BLEND);
    glTexGeni(GL_S, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glTexGeni(GL_T, GL_TEXTURE_GEN_MODE, GL_SPHERE_MAP);
    glEnable(GL_COLOR_MATERIAL);
    glColorMaterial(GL_FRONT, GL_AMBIENT_AND_DIFFUSE);
}
