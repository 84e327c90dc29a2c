#include "tools/launchlist_check/json_values.h"

#include <exception>

#include "common/json/json_object.h"

std::string TypeName(Json::Value const& value) {
    switch (value.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return value.asBool() ? "true" : "false";
        case Json::stringValue:
            return "a string";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
        default:
            return "a number";
    }
}

std::string NameOf(Json::Value const& item) {
    return item.isObject() && item["name"].isString() ? item["name"].asString() : "";
}

std::optional<std::string> TextOf(Json::Value& value) {
    try {
        return std::string(JsonObject(value));
    } catch (std::exception const&) {
        return std::nullopt;
    }
}

std::optional<int> IntegerOf(Json::Value& value) {
    try {
        return static_cast<int>(JsonObject(value));
    } catch (std::exception const&) {
        return std::nullopt;
    }
}
