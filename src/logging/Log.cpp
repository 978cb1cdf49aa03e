// SPDX-License-Identifier: MIT
#include "logging/Log.h"

namespace Audio::Utils::Kiv::QtDbus {

namespace {

class LateCategory : public QLoggingCategory
{
public:
    LateCategory()
        : QLoggingCategory("default")
    {
        setEnabled(QtDebugMsg, false); // the rules that said so are gone, too
    }
};

} // namespace

const QLoggingCategory& LateLog()
{
    static const LateCategory category;
    return category;
}

} // namespace Audio::Utils::Kiv::QtDbus
