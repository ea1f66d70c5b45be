// SPDX-License-Identifier: MIT
#pragma once

#include <oktdatabase/oktdbpool.h>
#include <oktplatform/oktarrays.h>

/// Where the objects of a sample lie in memory: in the order in which a host made them, which has nothing to do with the
/// order of their ids, or in the order of a load, which is that of their ids.
enum class SampleOrigin
{
    Built,
    Loaded
};

/// A pool of parameters as a template holds them: display name with a list code, type, a real value, list index, ids of
/// category and owner, expression and description. The pool is in millimetres; half of the types are lengths, which are
/// converted.
void fillWithParameters(OKTDbPool &pool, int count);

/// A pool of `count` objects as a whole template holds them: categories, each followed by the 20 parameters that it lists and that
/// name it and the pool, and a picture of 16,384 bytes for each thousand objects.
void fillWithTemplate(OKTDbPool &pool, int count);

/// The same pool of parameters for every caller that asks for that size and origin. Only the last one asked for is kept.
OKTDbPool const &parameterSample(int count, SampleOrigin origin);

/// A pool of categories that list `idsEach` ids each.
void fillWithCategories(OKTDbPool &pool, int count, int idsEach);

/// What the pool saves. Ends the program when that fails.
CByteArray imageOf(OKTDbPool const &pool);
