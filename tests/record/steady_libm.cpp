// SPDX-License-Identifier: MIT
#include "record/steady_libm.h"

#include <cmath>

static bool isSteady;

void UseSteadyLibm(bool on)
{
    isSteady = on;
}

// The linker's --wrap sends calls of NAME to __wrap_NAME, and __real_NAME is the library's.
double RealSin(double x) asm("__real_sin");
double RealCos(double x) asm("__real_cos");
double RealTan(double x) asm("__real_tan");
float RealSinf(float x) asm("__real_sinf");
float RealCosf(float x) asm("__real_cosf");
void RealSincos(double x, double* sine, double* cosine) asm("__real_sincos");
void RealSincosf(float x, float* sine, float* cosine) asm("__real_sincosf");

double WrappedSin(double x) asm("__wrap_sin");
double WrappedCos(double x) asm("__wrap_cos");
double WrappedTan(double x) asm("__wrap_tan");
float WrappedSinf(float x) asm("__wrap_sinf");
float WrappedCosf(float x) asm("__wrap_cosf");
void WrappedSincos(double x, double* sine, double* cosine) asm("__wrap_sincos");
void WrappedSincosf(float x, float* sine, float* cosine) asm("__wrap_sincosf");

static double SteadySin(double x)
{
    return static_cast<double>(sinl(static_cast<long double>(x)));
}

static double SteadyCos(double x)
{
    return static_cast<double>(cosl(static_cast<long double>(x)));
}

static float SteadySinf(float x)
{
    return static_cast<float>(sinl(static_cast<long double>(x)));
}

static float SteadyCosf(float x)
{
    return static_cast<float>(cosl(static_cast<long double>(x)));
}

double WrappedSin(double x)
{
    return isSteady ? SteadySin(x) : RealSin(x);
}

double WrappedCos(double x)
{
    return isSteady ? SteadyCos(x) : RealCos(x);
}

double WrappedTan(double x)
{
    return isSteady ? static_cast<double>(tanl(static_cast<long double>(x))) : RealTan(x);
}

float WrappedSinf(float x)
{
    return isSteady ? SteadySinf(x) : RealSinf(x);
}

float WrappedCosf(float x)
{
    return isSteady ? SteadyCosf(x) : RealCosf(x);
}

void WrappedSincos(double x, double* sine, double* cosine)
{
    if (!isSteady)
    {
        RealSincos(x, sine, cosine);
        return;
    }
    *sine = SteadySin(x);
    *cosine = SteadyCos(x);
}

void WrappedSincosf(float x, float* sine, float* cosine)
{
    if (!isSteady)
    {
        RealSincosf(x, sine, cosine);
        return;
    }
    *sine = SteadySinf(x);
    *cosine = SteadyCosf(x);
}
