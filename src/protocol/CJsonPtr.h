// SPDX-License-Identifier: MIT
#ifndef KIV_PROTOCOL_CJSONPTR_H
#define KIV_PROTOCOL_CJSONPTR_H

#include <cJSON.h>

#include <memory>

namespace Audio::Utils::Kiv::QtDbus {

struct CJsonDeleter
{
    void operator()(cJSON* tree) const { cJSON_Delete(tree); }
    void operator()(char* text) const { cJSON_free(text); }
};

/** Owns a JSON tree. */
using CJsonPtr = std::unique_ptr<cJSON, CJsonDeleter>;

/** Owns a printed JSON text. */
using CJsonText = std::unique_ptr<char, CJsonDeleter>;

} // namespace Audio::Utils::Kiv::QtDbus

#endif // KIV_PROTOCOL_CJSONPTR_H
