// The error codes that JsonObject throws, by value.

#ifndef COMMON_JSON_AERROR_H
#define COMMON_JSON_AERROR_H

#include <cstdint>

enum AERROR : std::int32_t {
    AERROR_NOT_FOUND = 4,        // a member on the path is missing
    AERROR_INVALID_JSON = 6001,  // the text is not JSON
};

#endif
