// What JsonObject is compared with: a tree of values, and the rules of its operations.
//
//   Value value;
//   MemberAt(value, "a").kind = Value::kBoolean;
//   JsonText(value)  -> {"a":false}

#ifndef FUZZ_JSON_MODEL_H
#define FUZZ_JSON_MODEL_H

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <list>
#include <string>
#include <utility>
#include <vector>

#include "harness/utf8_oracle.h"

namespace json_model {

struct Member;

struct Value {
    enum Kind { kNull, kBoolean, kInteger, kReal, kText, kArray, kObject };

    Kind kind = kNull;
    long long number = 0;  // a real is four times as large here, so that it is whole
    std::string text;
    std::list<Member> members;  // of an object by name, of an array in order
};

struct Member {
    std::string name;
    // An element that exists only because a later one does. It reads as null, and cannot
    // be removed.
    bool is_gap = false;
    Value value;
};

// How an operation ends; thrown, except kDone.
enum class Outcome { kDone, kNotFound, kWrongType, kInvalidText };

// Throws if the value is neither of that kind nor null.
inline void RequireKind(Value const& value, Value::Kind kind) {
    if (value.kind != kind && value.kind != Value::kNull) {
        throw Outcome::kWrongType;
    }
}

// Returns the member of that name, or null.
inline Value* FindMember(Value& object, std::string const& name) {
    RequireKind(object, Value::kObject);
    for (Member& member : object.members) {
        if (member.name == name) {
            return &member.value;
        }
    }
    return nullptr;
}

// Returns the member of that name, which is added if need be.
inline Value& MemberAt(Value& object, std::string const& name) {
    if (Value* const found = FindMember(object, name)) {
        return *found;
    }
    object.kind = Value::kObject;
    auto const place =
        std::find_if(object.members.begin(), object.members.end(),
                     [&](Member const& member) { return member.name > name; });
    return object.members.insert(place, Member{name, false, {}})->value;
}

// Returns the element at that index, up to which the array grows if need be.
inline Value& ElementAt(Value& array, int index) {
    RequireKind(array, Value::kArray);
    if (index < 0) {
        throw Outcome::kWrongType;
    }
    array.kind = Value::kArray;
    while (array.members.size() <= static_cast<std::size_t>(index)) {
        array.members.push_back(Member{"", true, {}});
    }
    Member& member = *std::next(array.members.begin(), index);
    member.is_gap = false;
    return member.value;
}

// Returns the value at the path, or null.
inline Value* FindPath(Value& start, std::string const& path) {
    Value* value = &start;
    std::string name;
    for (char const c : path + '/') {
        if (c != '/') {
            name += c;
        } else if (!name.empty()) {
            value = FindMember(*value, name);
            if (value == nullptr) {
                return nullptr;
            }
            name.clear();
        }
    }
    return value;
}

inline void Append(Value& array, Value item) {
    RequireKind(array, Value::kArray);
    array.kind = Value::kArray;
    array.members.push_back(Member{"", false, std::move(item)});
}

inline bool HasElement(Value const& array, std::size_t index) {
    return array.kind == Value::kArray && index < array.members.size() &&
           !std::next(array.members.begin(), static_cast<long>(index))->is_gap;
}

// Removes an element that exists. The gaps after it become elements. If it was the last,
// the gaps before it are removed too.
inline void RemoveElement(Value& array, std::size_t index) {
    auto const next =
        array.members.erase(std::next(array.members.begin(), static_cast<long>(index)));
    std::for_each(next, array.members.end(),
                  [](Member& member) { member.is_gap = false; });
    while (!array.members.empty() && array.members.back().is_gap) {
        array.members.pop_back();
    }
}

inline bool RemoveMember(Value& object, std::string const& name) {
    if (object.kind != Value::kObject) {
        return false;
    }
    std::size_t const size = object.members.size();
    object.members.remove_if([&](Member const& member) { return member.name == name; });
    return object.members.size() < size;
}

inline std::vector<std::string> NamesIn(Value const& object) {
    RequireKind(object, Value::kObject);
    std::vector<std::string> names;
    for (Member const& member : object.members) {
        names.push_back(member.name);
    }
    return names;
}

inline std::string RealText(long long quarters) {
    char const* const fractions[] = {".0", ".25", ".5", ".75"};
    long long const size = std::abs(quarters);
    return (quarters < 0 ? "-" : "") + std::to_string(size / 4) + fractions[size % 4];
}

// A value that is neither array nor object as text.
inline std::string Text(Value const& value) {
    switch (value.kind) {
        case Value::kNull:
            return "";
        case Value::kBoolean:
            return value.number != 0 ? "true" : "false";
        case Value::kInteger:
            return std::to_string(value.number);
        case Value::kReal:
            return RealText(value.number);
        case Value::kText:
            return value.text;
        default:
            throw Outcome::kWrongType;
    }
}

// Requires that a value reads as a number.
inline void RequireNumber(Value const& value) {
    if (value.kind > Value::kReal) {
        throw Outcome::kWrongType;
    }
}

inline long long Integer(Value const& value) {
    RequireNumber(value);
    return value.kind == Value::kReal ? value.number / 4 : value.number;
}

inline unsigned long long Unsigned(Value const& value) {
    RequireNumber(value);
    if (value.number < 0) {
        throw Outcome::kWrongType;
    }
    return static_cast<unsigned long long>(Integer(value));
}

inline double Real(Value const& value) {
    RequireNumber(value);
    auto const number = static_cast<double>(value.number);
    return value.kind == Value::kReal ? number / 4 : number;
}

inline bool Truth(Value const& value) {
    RequireNumber(value);
    return value.number != 0;
}

inline std::string Escape(unsigned long code_unit) {
    char text[8];
    std::snprintf(text, sizeof text, "\\u%04lx", code_unit & 0xFFFF);
    return text;
}

inline std::string QuotedCharacter(unsigned long code_point) {
    std::string const specials = "\"\\\b\f\n\r\t";
    if (code_point >= 0x10000) {
        unsigned long const rest = code_point - 0x10000;
        return Escape(0xD800 + (rest >> 10U)) + Escape(0xDC00 + (rest & 0x3FFU));
    }
    if (code_point >= 0x80) {
        return Escape(code_point);
    }
    std::size_t const special = specials.find(static_cast<char>(code_point));
    if (special != std::string::npos) {
        return std::string("\\") + "\"\\bfnrt"[special];
    }
    return code_point < 0x20 ? Escape(code_point)
                             : std::string(1, static_cast<char>(code_point));
}

// `text` is UTF-8.
inline std::string Quoted(std::string const& text) {
    std::string quoted = "\"";
    std::wstring const code_points = DecodeUtf8Strictly(text).value();
    for (wchar_t const c : code_points) {
        quoted += QuotedCharacter(static_cast<unsigned long>(c));
    }
    return quoted + '"';
}

// The value as JSON on one line.
inline std::string JsonText(Value const& value) {
    if (value.kind == Value::kArray || value.kind == Value::kObject) {
        bool const is_array = value.kind == Value::kArray;
        std::string text;
        for (Member const& member : value.members) {
            text += text.empty() ? "" : ",";
            text += is_array ? "" : Quoted(member.name) + ":";
            text += JsonText(member.value);
        }
        return is_array ? "[" + text + "]" : "{" + text + "}";
    }
    if (value.kind == Value::kText) {
        return Quoted(value.text);
    }
    return value.kind == Value::kNull ? "null" : Text(value);
}

}  // namespace json_model

#endif
