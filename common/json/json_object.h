// JsonObject: reading, changing and writing JSON.
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
// A JsonObject is one of two things:
// - an owning object, which holds a document of its own;
// - a view, which refers to a value in another object's document, or to a Json::Value of
//   the caller. A view must not outlive what it refers to; nothing checks that.
//
// Which of the two a copy is depends only on the source's own document. If that is JSON
// null, as it is in every view, the copy is a view on the same value. Otherwise the copy
// owns a deep copy. So a copy of an owning object that holds null is a view into it.
//
// To set a member, call Insert. An assignment to the result of a subscript works with a
// string and with a view. With an owning object it only replaces the temporary view:
//
//   JsonObject doc(R"({"a": 1})");
//   JsonObject other(R"({"x": [7]})");
//   doc["a"] = JsonObject("5");          // wrong: the document is still {"a":1}
//   doc.Insert("a", JsonObject("5"));    // {"a":5}
//   doc["a"] = std::string("text");      // {"a":"text"}
//   doc["a"] = other["x"];               // {"a":[7]}
//
// Some expressions do not compile:
// - doc["a"] = "text" and doc["a"] = 5: write std::string("text"), or call Insert;
// - text = doc["a"] for an existing string: write text = std::string(doc["a"]);
// - reading any other number (a char, short, unsigned int, unsigned long, std::size_t or
//   float): read an int, a long long or a double and convert it;
// - a std::string as a key or a path, and doc.Insert("a", 5): pass key.c_str(), and
//   JsonObject("5");
// - doc["a"] == 5, and arithmetic: read the value into a variable first;
// - any operation on a const JsonObject: copy it first.
//
// Some compile and do something unexpected:
// - "abc" + doc["n"] reads the value as an int and skips that many characters of "abc":
//   write "abc" + std::string(doc["n"]);
// - list[2.9] is list[2].
//
// A document and all views into it must be used by one thread at a time. Every operation
// passes on what jsoncpp throws for a value of the wrong type.

#ifndef COMMON_JSON_JSON_OBJECT_H
#define COMMON_JSON_JSON_OBJECT_H

#include <json/value.h>

#include <string>
#include <vector>

#include "common/json/aerror.h"

// Contract: no operation is const.
class JsonObject {
  public:
    // The next two constructors parse JSON into a document of their own. They throw
    // AERROR_INVALID_JSON if the text is not JSON, and Json::RuntimeError if values are
    // nested more than 1,000 deep.
    //
    // They accept more than JSON:
    // - comments as in C and C++;
    // - text after the value, which is ignored: "1 x" is 1;
    // - the same key twice in an object: the later value counts;
    // - numbers such as 01, 1. and -, which is 0;
    // - line feeds, tabs and other control characters in strings;
    // - strings with bytes that are not UTF-8. Conversions return these bytes. ToText and
    //   ToStyledText write other characters for them and for up to three bytes after.
    //
    // They do not accept a byte-order mark, or a comma before "]" or "}".
    //
    // A number with a fraction or an exponent is read in the global std::locale. If that
    // has a decimal comma, 1.5 is read as 1, or is not JSON if a point separates
    // thousands. Numbers too large for a double, like 1e400, are not JSON. With libc++
    // the same is true of numbers below 2.2e-308, like 1e-320.

    // Parses the `length` bytes at `buffer` and drops comments. The bytes need no NUL at
    // the end, and may contain NULs.
    JsonObject(char const* buffer, unsigned int length);

    // Parses `text` and keeps its comments, which ToStyledText writes. A null pointer
    // gives a document that is JSON null.
    JsonObject(char const* text);

    // Makes a view on `value`, which the caller keeps alive.
    JsonObject(Json::Value& value);

    // Makes a view on the value of `other` if `other`'s own document is null, and
    // otherwise a deep copy of that document.
    JsonObject(JsonObject const& other);

    // Destroys the object's own document; the value that a view refers to stays. Takes
    // little stack, however deep the document is.
    virtual ~JsonObject();

    // Returns an owning object that holds {}.
    static JsonObject GetEmptyObject();

    // Replaces the value by the JSON string `text`, which is not parsed. A view changes
    // the document that it refers to.
    JsonObject& operator=(std::string text);

    // Takes a deep copy of the value of `other`. If `other` is a view, or holds null, the
    // copy replaces the value that this object refers to: a view changes the document
    // that it refers to. If `other` owns a document, this object becomes the owner of the
    // copy: a view no longer refers to its document, which does not change.
    JsonObject& operator=(JsonObject const& other);

    // Return the value as text, up to its first NUL. Null is "", and numbers and booleans
    // are written out. The wide form decodes UTF-8 and throws what s2ws throws.
    operator std::string();
    operator std::wstring();

    // Return the value as a number. Null is 0 and true is 1. Integers drop a fraction:
    // 1.9 and -1.9 read as 1 and -1. A number that does not fit into 64 bits throws
    // Json::LogicError. int and AERROR are the low 32 bits of the 64-bit value, without a
    // range check: 4294967297 reads as 1. As a bool, 0 and NaN are false and all other
    // numbers are true.
    operator unsigned long long();
    operator long long();
    operator long();
    operator int();
    operator AERROR();
    operator double();
    operator bool();

    // Returns true unless the value is JSON null.
    bool IsValid();

    // Returns true if the value is an array.
    bool IsArray();

    // Follow a path of member names from this value. GetObject returns a view on the
    // value at the end, and throws AERROR_NOT_FOUND if a member is missing. HasObject
    // returns true if all members exist. Neither changes the document. `path` is not
    // null.
    //
    // Slashes separate the names. Empty names are skipped, so "/a/b", "a/b/" and "a//b"
    // are the same path, and "" is this value. Names are literal: a number is a name too,
    // never an index.
    JsonObject GetObject(char const* path);
    bool HasObject(char const* path);

    // Return a view on one member or array element. If it is missing, it is added to the
    // document as null; if this value is null, it becomes an object or an array. An index
    // far beyond the end makes the array that long: this takes no memory, but ToText
    // writes every null. A negative index throws Json::LogicError. `key` is not null.
    JsonObject operator[](char const* key);
    JsonObject operator[](int index);

    // Returns the number of elements of an array or of members of an object, and 0 for
    // all other values.
    unsigned int GetArraySize();

    // The functions from here to Remove edit this value; a view edits the document that
    // it refers to. A key is one member name, taken literally, never a path; it is not
    // null. An inserted value is a deep copy made before the document changes, so a
    // document may be inserted into itself. Views on a value that is replaced or removed
    // dangle.

    // Set the member `key` and return true. A member that exists is replaced, together
    // with its comments; if this value is null, it becomes an object. A char const* as
    // `value` is parsed as JSON, as the constructor does. Wide text becomes a JSON string
    // in UTF-8; if it is invalid, this throws what ws2s throws and the document does not
    // change.
    bool Insert(char const* key, JsonObject const& value);
    bool Insert(char const* key, std::wstring const& text);

    // Append an element to an array and return true. If this value is null, it becomes an
    // array. `text` becomes a JSON string; it is not parsed. `item` must be a variable: a
    // temporary, such as the result of GetObject, would be converted to text.
    bool InsertArrayItem(std::string text);
    bool InsertArrayItem(JsonObject& item);

    // Remove an array element or a member and return true. Elements after it move down.
    // Return false, and change nothing, if there is no such element or member, or if this
    // value is not an array or not an object. Only the low 32 bits of `index` count:
    // 4294967296 removes element 0.
    //
    // Nulls that operator[] only skipped cannot be removed. They vanish when the last
    // element, which comes after them, is removed.
    bool RemoveArrayItem(unsigned long index);
    bool Remove(char const* key);

    // Returns the names of the members, sorted by their bytes. Null has no members.
    std::vector<std::string> GetKeys();

    // Returns a view on this value. Despite the name it copies nothing: for a deep copy,
    // assign to an owning object.
    JsonObject Copy();

    // Return this value as JSON: ToText on one line, ToStyledText indented on several
    // lines and with its comments. There is no white space at the ends. Characters beyond
    // ASCII are escaped.
    std::string ToText();
    std::string ToStyledText();

  private:
    Json::Value* FindValue(char const* path);

    Json::Value* target;   // every operation reads or changes this value; never null
    Json::Value ownValue;  // the document of an owning object; null in a view
};

#endif
