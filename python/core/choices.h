#pragma once
// Words that stand for the values of an enumeration.

#include "python/core/errors.h"

#include <kvmeasure/base/text.h>

#include <QtCore/QStringList>

namespace KvMathPython {

/// The value whose word it is, the words in the order of the values from 0 on. Throws argumentError for
/// another word.
template <class Enumeration>
Enumeration choice(const QString& word, const QStringList& words, const char* parameter) {
    const auto at = words.indexOf(word);
    if (at < 0)
        throw argumentError(parameter, "needs " + KvMeasure::alternatives(words) + ", not \"" + word + '"' +
                                           KvMeasure::suggestion(word, words));
    return static_cast<Enumeration>(at);
}

}  // namespace KvMathPython
