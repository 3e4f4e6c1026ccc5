#include <kvmath/core/trace.h>
#include <kvmath/core/trace_p.h>

#include <tests/support/prelude.h>
#include <tests/support/scratch_directory.h>

TEST(TraceKernel, WritesLatin1UpToItsLevelAndNoPlaceMarkers) {
    const TestSupport::ScratchDirectory scratch;
    KvMath::SetTrace(1);
    KvMath::Internal::trace(2, "details");
    KvMath::Internal::trace(1, QString("100%1 \n") + QChar(0xE4));
    EXPECT_EQ(scratch.read("kvmath_trace.txt"), "100%1 \n\xE4\r\n");
}
