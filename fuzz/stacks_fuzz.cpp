// Files of stacks in both forms, and what can be made of a stack.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmath/core/matrix_cloud.h>
#include <kvmath/profile/profile_zset.h>

namespace {

constexpr qint64 kWalkedCells =
    1'000'000;  // larger grids take seconds under the sanitizers, and tell no more

void useGrid(KvMath::KvProfileZSet& stack, Fuzz::Input& input) {
    KvMath::KvMatrixCloud grid;
    KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud;
    const int held = stack.toMatrixCloud(grid, input.real(), input.real());
    grid.sample(input.real(), input.real());
    const bool isWalked = qint64(grid.rows) * grid.columns <= kWalkedCells;
    if (isWalked)
        Fuzz::require(grid.toPointCloud(cloud) == held, "cells with points are points of the grid");
    grid.setHeight(input.integer(), input.integer(), input.real());
    KvMath::KvMatrixWithHistos regions(grid);
    const float binWidth = input.real(), maxStep = input.real();
    const int minCells = input.integer();
    if (isWalked)
        regions.segment(binWidth, maxStep, minCells);
}

void use(KvMath::KvProfileZSet stack, Fuzz::Input& input) {
    stack.calcRange();
    stack.calcAverageY();
    KvMath::KvProfileZSet part;
    stack.getRange(input.real(), input.real(), part);
    KvMath::KvPointCloud<KvMath::KvPointXYZ> cloud;
    stack.toPointCloud(cloud, input.integer(), input.integer());
    stack.toPointCloud(cloud);
    part.calcFromPointCloud(cloud, input.real());
    part.removePCfromZ();

    if (input.isOneIn(32))  // takes longer than all else
        useGrid(stack, input);

    stack.removePCfromZ();
    stack.clearEdgeEffect();
    stack.setZ(input.real(), input.real());
}

void requireSame(KvMath::KvProfileZSet& stack) {
    static const QString path = Fuzz::scratchPath("out");
    Fuzz::require(stack.writeToFile(path), "a stack can be written");
    KvMath::KvProfileZSet again;
    Fuzz::require(again.readFromFile(path) == stack.size(), "all profiles come back");
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fuzz::ScratchFile in("in");
    Fuzz::Input input(data, size);
    // One form and one way on for each input: both of each would take four times as long.
    const bool isWritten = input.isOneIn(16);
    const int way = input.byte();
    const QString path = in.with({reinterpret_cast<const char*>(data), int(size)});
    KvMath::KvProfileZSet stack;
    const bool hasPitch = way % 2 != 0;
    const float z0 = hasPitch ? input.real() : 0, step = hasPitch ? input.real() : 0;
    const int count = hasPitch ? stack.readFromFile(path, z0, step) : stack.readFromFile(path);
    Fuzz::require(count == stack.size(), "the number of profiles is returned");
    if (isWritten)
        requireSame(stack);
    else if (way < 128)
        use(stack, input);
    return 0;
}
