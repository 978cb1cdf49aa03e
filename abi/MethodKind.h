// SPDX-License-Identifier: MIT
#ifndef KIV_ABI_METHODKIND_H
#define KIV_ABI_METHODKIND_H

#include <QMetaMethod>

namespace KivAbi {

/** What a class tells of a method at run time: "signal", "slot", "constructor", or "method" for any other. */
inline const char* KindOf(const QMetaMethod& method)
{
    switch (method.methodType()) {
    case QMetaMethod::Signal:
        return "signal";
    case QMetaMethod::Slot:
        return "slot";
    case QMetaMethod::Constructor:
        return "constructor";
    case QMetaMethod::Method:
        break;
    }
    return "method";
}

} // namespace KivAbi

#endif // KIV_ABI_METHODKIND_H
