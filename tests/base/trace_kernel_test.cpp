#include <kvmath/base/trace.h>
#include <kvmath/base/trace_p.h>

#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

TEST(TraceKernel, WritesLatin1UpToItsLevelAndNoPlaceMarkers) {
    const TestSupport::ScratchDirectory scratch;
    KvMath::SetTrace(1);
    KvMath::Internal::trace(2, "details");
    KvMath::Internal::trace(1, QString("100%1 \n") + QChar(0xE4));
    KvMath::Internal::trace(1, "%2, %11 of %1 (10 %)", QString("a%2b"), 0.25, 3, 4, 5, 6, 7, 8, 9, 10, -11);
    EXPECT_EQ(scratch.read("kvmath_trace.txt"), "100%1 \n\xE4\r\n0.25, -11 of a%2b (10 %)\r\n");
}
