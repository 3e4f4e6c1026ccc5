#pragma once
// The error that a call throws.

#include <kvmeasure/base/error.h>

#include <gmock/gmock.h>

namespace TestSupport {

/// The error of a call, which has to throw; one without text where it does not.
template <class Call>
KvMeasure::Error errorOf(const Call& call) {
    try {
        call();
    } catch (const KvMeasure::Error& error) {
        return error;
    }
    ADD_FAILURE() << "nothing was thrown";
    return KvMeasure::Error("");
}

inline std::string textOf(const KvMeasure::Error& error) { return error.text().toStdString(); }

}  // namespace TestSupport
