// The library's CSV, any columns: what was read and written is read again and written the same.

#include "fuzz/fuzz_input.h"
#include "fuzz/scratch_file.h"

#include <kvmath/profile/profile.h>

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static Fuzz::ScratchFile in("in.csv");
    Fuzz::Input input(data, size);
    const bool isWritten = input.isOneIn(16);  // takes four times as long as reading
    const bool isPlain = input.byte() < 240;
    const int xColumn = isPlain ? 0 : input.integer(), yColumn = isPlain ? 1 : input.integer();
    KvMath::KvProfile profile;
    const int count = profile.readFromCSVFile(in.with(input.rest()), xColumn, yColumn);
    Fuzz::require(count == profile.points.size(), "the number of points is returned");
    if (!isWritten)
        return 0;
    Fuzz::require(profile.writeToCSVFile(Fuzz::scratchPath("out.csv")), "a profile can be written");
    KvMath::KvProfile again;
    Fuzz::require(again.readFromCSVFile(Fuzz::scratchPath("out.csv"), 0, 1) == count, "all points come back");
    again.writeToCSVFile(Fuzz::scratchPath("again.csv"));
    Fuzz::require(Fuzz::scratchBytes("out.csv") == Fuzz::scratchBytes("again.csv"), "written text is stable");
    return 0;
}
