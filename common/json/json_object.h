// JsonObject, the handle on JSON data.
//
//   JsonObject list(R"({"0": {"name": "agent", "argc": 1}})");
//   JsonObject item = list["0"];                    // a view into `list`
//   std::string name = item.GetObject("/name");     // "agent"
//   int count = item["argc"];                       // 1
//   list.HasObject("0/program");                    // false
//   item.Remove("argc");
//   item.Insert("name", L"caf\u00E9");
//   list.Insert("1", JsonObject("{}"));
//   list.ToText();                            // {"0":{"name":"caf\u00e9"},"1":{}}
//
// A handle plays one of two roles. An owning object holds a document of its own; a view
// refers to a value inside another object's document, or to a caller's Json::Value. A
// view must not outlive what it refers to; nothing checks that. Which role a copy plays
// is told by the source's own document alone: if it is JSON null, as in every view, the
// copy is a view of the same value; else it owns a deep copy. So a copy of an owning
// object that holds null is a view into that object.
//
// To set a member, call Insert. An assignment to what a subscript returned works with a
// string and with a view, but an owning object only replaces the temporary view:
//
//   JsonObject doc(R"({"a": 1})");
//   JsonObject other(R"({"x": [7]})");
//   doc["a"] = JsonObject("5");          // wrong: the document still has {"a":1}
//   doc.Insert("a", JsonObject("5"));    // {"a":5}
//   doc["a"] = std::string("text");      // {"a":"text"}
//   doc["a"] = other["x"];               // {"a":[7]}
//
// Some expressions do not compile:
// - doc["a"] = "text", which may be a string or JSON; also doc["a"] = 5;
// - text = doc["a"] for a string that exists: write text = std::string(doc["a"]);
// - reading any other number (a char, short, unsigned int, unsigned long, std::size_t or
//   float): read an int, a long long or a double and convert it;
// - a std::string as a key or a path, and doc.Insert("a", 5): pass key.c_str(), and
//   JsonObject("5");
// - doc["a"] == 5, and arithmetic: read the value into a variable first;
// - any operation on a const JsonObject: copy it first.
//
// Some compile and do something else:
// - "abc" + doc["n"] takes the value for an int and skips as many characters of "abc";
//   write "abc" + std::string(doc["n"]);
// - list[2.9] is list[2].
//
// A document and all views into it are used by one thread at a time. What jsoncpp
// throws for a value of the wrong type passes through every operation.

#ifndef COMMON_JSON_JSON_OBJECT_H
#define COMMON_JSON_JSON_OBJECT_H

#include <json/value.h>

#include <string>
#include <vector>

#include "common/json/aerror.h"

// Contract: no operation is const.
class JsonObject {
  public:
    // Two constructors parse JSON into a document of their own. They throw
    // AERROR_INVALID_JSON if the text is not JSON, and Json::RuntimeError if values stand
    // inside each other more than 1,000 deep.
    //
    // They accept more than JSON:
    // - comments as in C and C++;
    // - text after the value, which is not looked at: "1 x" is 1;
    // - an object with one key twice: the later value counts;
    // - numbers such as 01, 1. and -, which is 0;
    // - line feeds, tabs and other control characters in strings;
    // - strings with bytes that are not UTF-8. Conversions return them. ToText and
    //   ToStyledText write other characters for them and for up to three bytes after.
    //
    // They do not accept a byte-order mark, or a comma before "]" or "}".
    //
    // A number with a fraction or an exponent is read as the C++ library reads a double
    // in the global std::locale. Where that has a decimal comma, 1.5 is 1, or is not JSON
    // if a point separates thousands. Numbers too large for a double, like 1e400, are not
    // JSON. Nor are, with libc++, numbers below 2.2e-308, like 1e-320.

    // Parses the `length` bytes at `buffer`, which need no terminator and may hold NULs,
    // without comments.
    JsonObject(char const* buffer, unsigned int length);

    // Parses `text` and keeps its comments, which then appear in styled output. A null
    // pointer gives a document that is JSON null.
    JsonObject(char const* text);

    // A view on `value`, which the caller keeps alive.
    JsonObject(Json::Value& value);

    // A view if `other`'s own document is null, else the owner of a deep copy of it.
    JsonObject(JsonObject const& other);

    // Leaves the value that a view refers to as it is. Needs little stack, however deep
    // the document is.
    virtual ~JsonObject();

    // An owning object that holds {}.
    static JsonObject GetEmptyObject();

    // Replaces the value by the JSON string `text`. Through a view this changes the
    // document that the view refers to.
    JsonObject& operator=(std::string text);

    // If `other`'s own document is null: replaces the value by a deep copy of the value
    // that `other` refers to; through a view, in the viewed document. Otherwise this
    // handle becomes the owner of a deep copy of `other`'s document, and a view lets go
    // of the document that it referred to.
    JsonObject& operator=(JsonObject const& other);

    // The value as text, up to its first NUL; null is "", numbers and booleans are
    // written out. The wide form decodes it from UTF-8 and throws what s2ws throws.
    operator std::string();
    operator std::wstring();

    // The value as a number; null is 0 and true is 1. Whole numbers drop a fraction: 1.9
    // and -1.9 read as 1 and -1. A number that 64 bits cannot hold throws
    // Json::LogicError. int and AERROR take the low 32 bits of the 64-bit value, without
    // a range check: 4294967297 reads as 1. As a bool, 0 and NaN are false and all other
    // numbers are true.
    operator unsigned long long();
    operator long long();
    operator long();
    operator int();
    operator AERROR();
    operator double();
    operator bool();

    // Says whether the value is anything but JSON null.
    bool IsValid();
    bool IsArray();

    // Follow a path of member names separated by slashes, from this value. Empty names
    // are skipped, so "/a/b", "a/b/" and "a//b" are one path and "" is this value; names
    // are literal, and a number is a name, never an index. The document is not changed.
    // GetObject returns a view and throws AERROR_NOT_FOUND if a member is missing;
    // HasObject says whether all are there. `path` is not null.
    JsonObject GetObject(char const* path);
    bool HasObject(char const* path);

    // A view on one member or array element. What is missing is added to the document,
    // as null; a null value first becomes an object or an array. An index far beyond the
    // end makes the array that long: it takes no memory, but ToText writes every null. A
    // negative index throws Json::LogicError.
    JsonObject operator[](char const* key);
    JsonObject operator[](int index);

    // The number of elements of an array or of members of an object, else 0.
    unsigned int GetArraySize();

    // Editing. All of it acts on this value, through a view in the viewed document; keys
    // are single member names, taken literally, never paths. What is inserted is a deep
    // copy of what was there before the call, so a document may be inserted into itself.
    // Views to what is replaced or removed dangle. `key` is not null.

    // Sets the member `key`, replacing one that exists with its comments; a null value
    // first becomes an object. Returns true. A char const* given for `value` is parsed as
    // JSON, as the constructor does. Wide text becomes a JSON string in UTF-8; if it is
    // invalid, what ws2s throws passes through and the document is as it was.
    bool Insert(char const* key, JsonObject const& value);
    bool Insert(char const* key, std::wstring const& text);

    // Appends an element to an array; a null value first becomes an array. Returns true.
    // `text` becomes a JSON string, it is not parsed. `item` must be a variable: a
    // temporary, such as the result of GetObject, would be read out as text.
    bool InsertArrayItem(std::string text);
    bool InsertArrayItem(JsonObject& item);

    // Remove an array element, and those behind it move down, or a member. Return false,
    // and change nothing, if there is none or this value is not an array, or not an
    // object. Only the low 32 bits of `index` count: 4294967296 removes element 0.
    //
    // Nulls that operator[] only skipped over cannot be removed. They go when the last
    // element, which comes after them, is removed.
    bool RemoveArrayItem(unsigned long index);
    bool Remove(char const* key);

    // The names of the members, sorted by their bytes; none if this value is null.
    std::vector<std::string> GetKeys();

    // A view on this value. Despite the name it copies nothing: assign to an owning
    // object for a deep copy.
    JsonObject Copy();

    // This value as JSON text on one line, or indented over several lines and with its
    // comments; neither has white space at its ends. Text beyond ASCII is escaped.
    std::string ToText();
    std::string ToStyledText();

  private:
    Json::Value* FindValue(char const* path);

    Json::Value* target;   // what every operation reads and changes; never null
    Json::Value ownValue;  // the document of an owning object; null in a view
};

#endif
