// SPDX-License-Identifier: MIT
#ifndef KIVQTDBUSEXPORT_H
#define KIVQTDBUSEXPORT_H

#include <QtGlobal>

/**
 * @file
 * What marks the library's exported symbols.
 */

/**
 * @def KIV_QTDBUS_EXPORT
 * Marks what the shared library exports; every other symbol of it is hidden.
 * Programs that use the library need not define anything.
 */
#if defined(KIV_QTDBUS_LIBRARY)
#define KIV_QTDBUS_EXPORT Q_DECL_EXPORT
#else
#define KIV_QTDBUS_EXPORT Q_DECL_IMPORT
#endif

#endif // KIVQTDBUSEXPORT_H
