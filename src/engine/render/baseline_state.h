// The OpenGL state that everything drawn builds on. A program sets it once per context.
#pragma once

/// Sets: depth test (LEQUAL) and blending on, smooth shading, sphere mapping as the texture
/// generation of S and T (generation itself off), ambient and diffuse of front faces following the
/// color. Nothing ever sets these back.
void SetBaselineState();
