// SPDX-License-Identifier: MIT
#ifndef TOOLS_STANDARDSTREAMS_H
#define TOOLS_STANDARDSTREAMS_H

namespace Tools {

/**
 * Occupies standard input, output and error where the caller has closed them; to be called before anything is opened.
 *
 * Otherwise the next file or socket that is opened gets such a number, and what is printed goes into it. Printing to an
 * occupied stream fails, as to a closed one.
 */
void OccupyStandardStreams();

} // namespace Tools

#endif // TOOLS_STANDARDSTREAMS_H
