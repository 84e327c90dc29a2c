#include "common/json/json_object.h"

#include <gtest/gtest.h>
#include <pthread.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

#include "tests/common/json/json_values.h"
#include "tests/support/allocation_limit.h"

namespace {

using namespace std::string_literals;

TEST(JsonObject, TheExampleOfItsHeader) {
    JsonObject list(R"({"0": {"name": "agent", "argc": 1}})");
    JsonObject item = list["0"];
    std::string const name = item.GetObject("/name");
    EXPECT_EQ(name, "agent");
    int const count = item["argc"];
    EXPECT_EQ(count, 1);
    EXPECT_FALSE(list.HasObject("0/program"));
}

TEST(JsonObject, AnEmptyObjectIsValidAndNoArray) {
    JsonObject empty = JsonObject::GetEmptyObject();
    EXPECT_TRUE(empty.IsValid());
    EXPECT_FALSE(empty.IsArray());
    EXPECT_EQ(empty.GetArraySize(), 0U);
    EXPECT_EQ(ValueOf(empty), Json::Value(Json::objectValue));

    JsonObject copy(empty);
    copy["a"] = "of the copy"s;
    EXPECT_FALSE(empty.HasObject("a"));
}

TEST(JsonObject, EverythingButNullIsValidAndOnlyAnArrayIsAnArray) {
    for (char const* const text : {"0", "false", R"("")", "{}", "0.0"}) {
        JsonObject document(text);
        EXPECT_TRUE(document.IsValid()) << text;
        EXPECT_FALSE(document.IsArray()) << text;
    }
    for (char const* const text : {"[]", "[null]"}) {
        JsonObject document(text);
        EXPECT_TRUE(document.IsValid()) << text;
        EXPECT_TRUE(document.IsArray()) << text;
    }
    JsonObject document(R"({"there":null})");
    EXPECT_TRUE(document.HasObject("there"));
    EXPECT_FALSE(document.GetObject("there").IsValid());
}

TEST(JsonObject, IsAPointerAndAValueWithAVirtualDestructor) {
    struct SameForm {
        virtual ~SameForm() = default;
        Json::Value* target;
        Json::Value own_value;
    };
    EXPECT_TRUE(std::has_virtual_destructor_v<JsonObject>);
    EXPECT_EQ(sizeof(JsonObject), sizeof(SameForm));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, long long>));
}

// Replaces every operation of JsonObject by one of the same name, and tells when it is
// destroyed.
class Derived : public JsonObject {
  public:
    explicit Derived(bool& told) : JsonObject("[1]"), ended(told) {}
    ~Derived() override { ended = true; }
    operator int() { return -1; }
    bool IsValid() { return false; }
    bool IsArray() { return false; }
    bool HasObject(char const* /*path*/) { return false; }
    JsonObject GetObject(char const* /*path*/) { return nullptr; }
    JsonObject operator[](int /*index*/) { return nullptr; }
    unsigned int GetArraySize() { return 99; }

  private:
    bool& ended;
};

// A thousand levels, the most that are parsed: arrays and objects by turns, and a number.
std::string ThousandLevels() {
    std::string text = "[1]";
    for (int i = 0; i < 499; ++i) {
        text.insert(0, R"({"a": [[2], )");
        text += "]}";
    }
    return text;
}

TEST(JsonObject, ADeepOneIsDestroyedOnASmallStack) {
    std::string const text = ThousandLevels();
    auto document = std::make_unique<JsonObject>(text.c_str());
    auto const destroy = [](void* documents) -> void* {
        static_cast<std::unique_ptr<JsonObject>*>(documents)->reset();
        return nullptr;
    };
    pthread_attr_t attributes;
    pthread_t thread = {};
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 65'536), 0);
    ASSERT_EQ(pthread_create(&thread, &attributes, destroy, &document), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    EXPECT_EQ(document, nullptr);
    ASSERT_EQ(pthread_attr_destroy(&attributes), 0);
}

TEST(JsonObject, IsDestroyedWithoutMemoryForThat) {
    std::string const text = ThousandLevels();
    auto document = std::make_unique<JsonObject>(text.c_str());
    AllocationLimit const limit(sizeof(Json::Value));  // it asks for room for two
    document.reset();
    EXPECT_EQ(document, nullptr);
}

TEST(JsonObject, OnlyItsDestructorIsVirtual) {
    bool ended = false;
    std::unique_ptr<JsonObject> handle = std::make_unique<Derived>(ended);
    JsonObject& as_base = *handle;
    EXPECT_EQ(typeid(as_base), typeid(Derived));
    EXPECT_TRUE(as_base.IsValid());
    EXPECT_TRUE(as_base.IsArray());
    EXPECT_TRUE(as_base.HasObject(""));
    EXPECT_TRUE(as_base.GetObject("").IsValid());
    EXPECT_EQ(static_cast<int>(as_base[0]), 1);
    EXPECT_EQ(as_base.GetArraySize(), 1U);
    EXPECT_THROW((void)static_cast<int>(as_base), Json::LogicError);
    handle.reset();
    EXPECT_TRUE(ended);
}

// What the header says of expressions that do not compile, and of one that does.
template <typename Handle, typename = void>
struct TakesALiteral : std::false_type {};
template <typename Handle>
struct TakesALiteral<Handle, std::void_t<decltype(std::declval<Handle>()["a"] = "text")>>
    : std::true_type {};
template <typename Handle, typename = void>
struct TakesANumber : std::false_type {};
template <typename Handle>
struct TakesANumber<Handle, std::void_t<decltype(std::declval<Handle>()["a"] = 5)>>
    : std::true_type {};
template <typename Handle, typename = void>
struct IsComparable : std::false_type {};
template <typename Handle>
struct IsComparable<Handle, std::void_t<decltype(std::declval<Handle>()["a"] == 5)>>
    : std::true_type {};

TEST(JsonObject, SomeExpressionsDoNotCompile) {
    EXPECT_FALSE(TakesALiteral<JsonObject&>());
    EXPECT_FALSE(TakesANumber<JsonObject&>());
    EXPECT_FALSE(IsComparable<JsonObject&>());
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, unsigned>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, short>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject&, float>));
    EXPECT_FALSE((std::is_constructible_v<unsigned, JsonObject&>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, std::string>));
    EXPECT_FALSE((std::is_convertible_v<JsonObject const&, int>));
}

TEST(JsonObject, AddedToALiteralIsTakenForAnInt) {
    JsonObject doc(R"({"n": 1})");
    EXPECT_STREQ("abc" + doc["n"], "bc");
    EXPECT_EQ("abc" + std::string(doc["n"]), "abc1");
}

TEST(JsonObject, ArraySizeCountsElementsAndMembers) {
    JsonObject document(R"({"array": [1, 2, 3], "object": {"x": 1}, "text": "abc",
                            "null": null})");
    EXPECT_EQ(document.GetArraySize(), 4U);
    EXPECT_EQ(document["array"].GetArraySize(), 3U);
    EXPECT_EQ(document["object"].GetArraySize(), 1U);
    EXPECT_EQ(document["text"].GetArraySize(), 0U);
    EXPECT_EQ(document["null"].GetArraySize(), 0U);
    EXPECT_EQ(JsonObject("[]").GetArraySize(), 0U);
}

}  // namespace
