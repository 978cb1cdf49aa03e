// SPDX-License-Identifier: MIT
#include "protocol/Vocabulary.h" // its constants belong to each file that includes it
