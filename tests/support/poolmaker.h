// SPDX-License-Identifier: MIT
#pragma once

class OKTDbPool;

/// Fills a pool with random objects of all classes, the client classes among them, and random well-known ids; equal seeds give
/// equal contents. The contents are such that the binary form keeps them exactly. Under a factor other than 1 these are lengths
/// that division and multiplication leave alone, and quantity expressions in their normal form; everything else is arbitrary.
/// Needs a ClientClasses.
void fillRandomly(OKTDbPool &pool, unsigned int seed, double factor);
