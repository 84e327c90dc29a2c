#include "common/json/json_object.h"

#include <json/reader.h>
#include <json/writer.h>

#include <cstdint>
#include <cstring>
#include <new>
#include <utility>

#include "common/json/text_encoding.h"
#include "common/strings/trim.h"

namespace {

// Throws jsoncpp's exception for numbers that are too large for an integer type.
// jsoncpp's own range check lets exactly 2^63 and 2^64 through, whose conversion is
// undefined.
void RefuseFrom(double limit, Json::Value const& value, char const* message) {
    if (value.type() == Json::realValue && value.asDouble() >= limit) {
        Json::throwLogicError(message);
    }
}

Json::Int64 AsInt64(Json::Value const& value) {
    RefuseFrom(0x1p63, value, "double out of Int64 range");
    return value.asInt64();
}

Json::UInt64 AsUInt64(Json::Value const& value) {
    RefuseFrom(0x1p64, value, "double out of UInt64 range");
    return value.asUInt64();
}

// Empties the document, member by member, without recursion. The destructor of a value
// calls the destructors of its members, and for a document with a thousand levels that
// takes 80 KiB of stack. Some threads have less.
void TakeApart(Json::Value& document) {
    std::vector<Json::Value> containers(1);
    containers.back().swap(document);
    while (!containers.empty()) {
        Json::Value container;
        container.swap(containers.back());
        containers.pop_back();
        for (Json::Value& member : container) {
            if (member.isObject() || member.isArray()) {
                containers.emplace_back();
                containers.back().swap(member);
            }
        }
    }
}

}  // namespace

JsonObject::JsonObject(char const* buffer, unsigned int length) : target(&ownValue) {
    // Contract: a buffer's comments are dropped, those of a text are kept.
    bool const collect_comments = false;
    if (!Json::Reader().parse(buffer, buffer + length, ownValue, collect_comments)) {
        throw AERROR_INVALID_JSON;
    }
}

JsonObject::JsonObject(char const* text) : target(&ownValue) {
    bool const collect_comments = true;
    // Contract: null is an empty handle, not an error.
    if (text != nullptr &&
        !Json::Reader().parse(std::string(text), ownValue, collect_comments)) {
        throw AERROR_INVALID_JSON;
    }
}

JsonObject::JsonObject(Json::Value& value) : target(&value) {}

// Contract: only the own value of `other` tells whether this is a view or a copy.
JsonObject::JsonObject(JsonObject const& other)
    : target(other.ownValue.isNull() ? other.target : &ownValue),
      ownValue(other.ownValue) {}

JsonObject::~JsonObject() {
    if (ownValue.isNull()) {
        return;
    }
    try {
        TakeApart(ownValue);
    } catch (std::bad_alloc const&) {
        // The rest is destroyed with recursion.
    }
}

JsonObject JsonObject::GetEmptyObject() {
    return JsonObject("{}");
}

JsonObject& JsonObject::operator=(std::string text) {
    *target = Json::Value(text);
    return *this;
}

// Contract: a view changes the document that this refers to; an owner makes this let go.
//
// The copy is complete before anything is replaced, as both may be in one document.
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment): for the same reason it is handled.
JsonObject& JsonObject::operator=(JsonObject const& other) {
    if (other.ownValue.isNull()) {
        *target = Json::Value(*other.target);
    } else {
        ownValue = Json::Value(other.ownValue);
        target = &ownValue;
    }
    return *this;
}

JsonObject::operator std::string() {
    std::string text = target->asString();
    // Contract: the text ends at its first NUL.
    text.resize(std::strlen(text.c_str()));
    return text;
}
JsonObject::operator std::wstring() {
    return s2ws(*this);
}
JsonObject::operator unsigned long long() {
    return AsUInt64(*target);
}
JsonObject::operator long long() {
    return AsInt64(*target);
}
JsonObject::operator long() {
    return AsInt64(*target);
}
JsonObject::operator int() {
    // Contract: the low 32 bits, without a range check.
    return static_cast<std::int32_t>(AsInt64(*target));
}
JsonObject::operator AERROR() {
    return static_cast<AERROR>(static_cast<int>(*this));
}
JsonObject::operator double() {
    return target->asDouble();
}
JsonObject::operator bool() {
    return target->asBool();
}

bool JsonObject::IsValid() {
    // Contract: a member that is null counts as missing.
    return !target->isNull();
}
bool JsonObject::IsArray() {
    return target->isArray();
}

JsonObject JsonObject::GetObject(char const* path) {
    Json::Value* const found = FindValue(path);
    if (found == nullptr) {
        throw AERROR_NOT_FOUND;
    }
    return *found;
}

bool JsonObject::HasObject(char const* path) {
    return FindValue(path) != nullptr;
}

// Contract: both subscripts add what is missing.
JsonObject JsonObject::operator[](char const* key) {
    return (*target)[key];
}
JsonObject JsonObject::operator[](int index) {
    return (*target)[index];
}
unsigned int JsonObject::GetArraySize() {
    return target->size();
}

// Contract: every insertion returns true.
//
// The new value is complete before the document changes: it may be a part of the
// document, or its conversion may fail.
bool JsonObject::Insert(char const* key, JsonObject const& value) {
    Json::Value copy(*value.target);
    (*target)[key] = std::move(copy);
    return true;
}
bool JsonObject::Insert(char const* key, std::wstring const& text) {
    Json::Value string(ws2s(text));
    (*target)[key] = std::move(string);
    return true;
}

bool JsonObject::InsertArrayItem(std::string text) {
    target->append(Json::Value(text));
    return true;
}
bool JsonObject::InsertArrayItem(JsonObject& item) {
    target->append(Json::Value(*item.target));
    return true;
}

bool JsonObject::RemoveArrayItem(unsigned long index) {
    Json::Value removed;
    // Contract: the low 32 bits of the index count.
    return target->removeIndex(static_cast<Json::ArrayIndex>(index), &removed);
}
bool JsonObject::Remove(char const* key) {
    Json::Value removed;
    return target->removeMember(key, &removed);
}

std::vector<std::string> JsonObject::GetKeys() {
    return target->getMemberNames();
}

JsonObject JsonObject::Copy() {
    // Contract: copies nothing, and returns a view.
    return *target;
}

std::string JsonObject::ToText() {
    std::string text = Json::FastWriter().write(*target);
    return trim(text);
}
std::string JsonObject::ToStyledText() {
    std::string text = Json::StyledWriter().write(*target);
    return trim(text);
}

// Returns the value at `path`, or null if a member is missing. Forked children of a
// threaded process call this, so no regular expression cuts the path: it would ask for
// the global locale, which the C++ library may guard with a lock.
Json::Value* JsonObject::FindValue(char const* path) {
    Json::Value const* value = target;
    char const* begin = path;
    while (*begin != '\0' && value != nullptr) {
        char const* end = begin;
        while (*end != '\0' && *end != '/') {
            ++end;
        }
        // Contract: a number is a name like any other, and empty names are skipped.
        if (end != begin) {
            value = value->find(begin, end);
        }
        begin = *end == '/' ? end + 1 : end;
    }
    return const_cast<Json::Value*>(value);
}
