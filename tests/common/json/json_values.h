// Looks at what a JsonObject refers to.

#ifndef TESTS_COMMON_JSON_JSON_VALUES_H
#define TESTS_COMMON_JSON_JSON_VALUES_H

#include <json/value.h>

#include <string>

#include "common/json/json_object.h"

// Returns what the handle refers to as text.
inline std::string Text(JsonObject& handle) {
    return handle;
}

// Returns a copy of what the handle refers to, to be compared with what it should be.
inline Json::Value ValueOf(JsonObject& handle) {
    Json::Value value;
    JsonObject view(value);
    view = handle.GetObject("");
    return value;
}

// Returns the value that `text` is in JSON.
inline Json::Value Parsed(char const* text) {
    JsonObject document(text);
    return ValueOf(document);
}

// Returns the code that the call throws; none of JsonObject's if it throws none.
template <typename Call>
AERROR CodeThrownBy(Call call) {
    try {
        call();
    } catch (AERROR code) {
        return code;
    }
    return AERROR();
}

#endif
