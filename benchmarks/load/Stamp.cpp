// SPDX-License-Identifier: MIT
#include "Stamps.h"

namespace {

__attribute__((constructor)) void Note()
{
    KivNoteStamp(KIV_STAMP_PLACE);
}

} // namespace
