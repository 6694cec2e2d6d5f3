#pragma once
// The ten material slots of a category item: material, quantity and rate of slot N stand at
// positions 7 + 3(N-1), 8 + 3(N-1) and 9 + 3(N-1) of its row, in both measure systems.

namespace tw::catslot {

constexpr int count = 10;
constexpr int first = 7; // tw_matl1

// Position of the material of slot n (1 to 10); its quantity and rate follow it.
constexpr int materialAt(int n) {
    return first + 3 * (n - 1);
}

} // namespace tw::catslot
