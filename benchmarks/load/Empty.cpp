// SPDX-License-Identifier: MIT

/** A library with nothing in it but this. */
extern "C" __attribute__((visibility("default"))) int KivEmpty()
{
    return 0;
}
