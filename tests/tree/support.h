#pragma once
// Random trees.

#include "support/heap_fixture.h"
#include "support/tree_model.h"

inline TreeModel randomTree(unsigned seed, int depth)
{
    std::mt19937 dice(seed);
    return tree_model::random(
        dice, {{"", "v", "a&b<c>\"d'", std::string(130, 'x'), std::string(20000, 'y')}, true}, depth);
}
