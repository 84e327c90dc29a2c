// The types of all functions that callers of common/ and of the launcher were compiled
// against: by value or by reference, const or not. A function that has another type, or
// another overload of it, does not compile here.

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstdint>
#include <functional>
#include <regex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "common/config/app_locations.h"
#include "common/config/log.h"
#include "common/config/log_location.h"
#include "common/config/process_helpers.h"
#include "common/config/profile_reader.h"
#include "common/json/aerror.h"
#include "common/json/json_object.h"
#include "common/json/text_encoding.h"
#include "common/strings/encoders.h"
#include "common/strings/format.h"
#include "common/strings/path_text.h"
#include "common/strings/split.h"
#include "common/strings/text.h"
#include "common/strings/trim.h"
#include "common/strings/wildcard.h"
#include "launcher/child_proc.h"
#include "launcher/main.h"
#include "launcher/system_event.h"

namespace {

using String = std::string;
using WString = std::wstring;
using Strings = std::vector<std::string>;
using WStrings = std::vector<std::wstring>;
using Transform = std::function<std::string(std::string&)>;
using WTransform = std::function<std::wstring(std::wstring&)>;

// True for a function that has no overload and exactly this type.
template <typename Type, typename Function>
constexpr bool Is(Function* /*function*/) {
    return std::is_same_v<Type, Function>;
}

// Takes the overload of exactly this type; without one the call does not compile.
template <typename Type>
constexpr bool Has(Type* /*overload*/) {
    return true;
}

// The same for members of JsonObject.
template <typename Type>
constexpr bool HasMember(Type JsonObject::* /*member*/) {
    return true;
}

// True if JsonObject{arguments...} compiles, which it does not where an argument would
// have to be narrowed.
template <typename Void, typename... Arguments>
struct IsMadeOf : std::false_type {};
template <typename... Arguments>
struct IsMadeOf<std::void_t<decltype(JsonObject{std::declval<Arguments>()...})>,
                Arguments...> : std::true_type {};

// Strings
static_assert(Is<String(String, ...)>(string_format));
static_assert(Is<WString(WString, ...)>(wstring_format));
static_assert(Has<void(String&, String const&, String const&)>(replace_all));
static_assert(Has<void(WString&, WString const&, WString const&)>(replace_all));
static_assert(Is<String(Strings const&, String)>(join));
static_assert(Has<Strings(String const&, String const&, Transform)>(split_delim));
static_assert(Has<WStrings(WString const&, WString const&, WTransform)>(split_delim));
static_assert(Has<Strings(String const&, char, Transform)>(tokenize));
static_assert(Has<WStrings(WString const&, wchar_t, WTransform)>(tokenize));
static_assert(Has<Strings(String const&, String, Transform)>(tokenize));
static_assert(Has<WStrings(WString const&, WString, WTransform)>(tokenize));
static_assert(Has<Strings(String const&, std::regex const&)>(split));
static_assert(Has<WStrings(WString const&, std::wregex const&)>(split));
static_assert(Is<bool(String const&, String const&)>(ends_with));
static_assert(Is<bool(wchar_t const*, wchar_t const*, bool)>(IsNameInExpression));
static_assert(Is<bool(char const*, char const*, bool)>(IsNameInExpressionA));
static_assert(Is<String(String)>(ensure_ends_with_divider));
static_assert(Is<String(String)>(remove_head_slashes));
static_assert(Is<String(String)>(remove_tail_slashes));
static_assert(Is<String(String)>(remove_duplicated_slashes));
static_assert(Is<void(String, String&, String&)>(split_container_name));
static_assert(Is<String(String)>(get_file_name));
static_assert(Is<char*(unsigned char const*, unsigned long)>(base64));
static_assert(Is<String(char const*, bool)>(URLEncode));
static_assert(Is<String()>(NewUUID));
static_assert(Is<int(int)>(octalToDecimal));
static_assert(Is<String&(String&)>(trim));

// JSON
static_assert(Is<WString(String const&)>(s2ws));
static_assert(Is<String(WString const&)>(ws2s));
static_assert(Is<String(wchar_t const*)>(wchar2utf8));

static_assert(std::is_same_v<std::underlying_type_t<AERROR>, std::int32_t>);
static_assert(std::is_convertible_v<AERROR, int>, "it is a plain enumeration");

static_assert(IsMadeOf<void, char const*, unsigned int>());
static_assert(!IsMadeOf<void, char const*, unsigned long>());
static_assert(!IsMadeOf<void, char const*, int>());
static_assert(std::is_convertible_v<char const*, JsonObject>);
static_assert(std::is_convertible_v<std::nullptr_t, JsonObject>);
static_assert(std::is_convertible_v<Json::Value&, JsonObject>);
static_assert(!std::is_constructible_v<JsonObject, Json::Value const&>);
static_assert(!std::is_constructible_v<JsonObject, Json::Value>);
static_assert(!std::is_constructible_v<JsonObject, String>);
static_assert(!std::is_default_constructible_v<JsonObject>);
static_assert(std::is_convertible_v<JsonObject const&, JsonObject>);
static_assert(std::has_virtual_destructor_v<JsonObject>);

static_assert(Is<JsonObject()>(JsonObject::GetEmptyObject));
static_assert(HasMember<JsonObject&(String)>(&JsonObject::operator=));
static_assert(HasMember<JsonObject&(JsonObject const&)>(&JsonObject::operator=));
static_assert(HasMember<String()>(&JsonObject::operator String));
static_assert(HasMember<WString()>(&JsonObject::operator WString));
static_assert(HasMember<unsigned long long()>(&JsonObject::operator unsigned long long));
static_assert(HasMember<long long()>(&JsonObject::operator long long));
static_assert(HasMember<long()>(&JsonObject::operator long));
static_assert(HasMember<int()>(&JsonObject::operator int));
static_assert(HasMember<AERROR()>(&JsonObject::operator AERROR));
static_assert(HasMember<double()>(&JsonObject::operator double));
static_assert(HasMember<bool()>(&JsonObject::operator bool));
static_assert(HasMember<bool()>(&JsonObject::IsValid));
static_assert(HasMember<bool()>(&JsonObject::IsArray));
static_assert(HasMember<JsonObject(char const*)>(&JsonObject::GetObject));
static_assert(HasMember<bool(char const*)>(&JsonObject::HasObject));
static_assert(HasMember<JsonObject(char const*)>(&JsonObject::operator[]));
static_assert(HasMember<JsonObject(int)>(&JsonObject::operator[]));
static_assert(HasMember<unsigned int()>(&JsonObject::GetArraySize));
static_assert(HasMember<bool(char const*, JsonObject const&)>(&JsonObject::Insert));
static_assert(HasMember<bool(char const*, WString const&)>(&JsonObject::Insert));
static_assert(HasMember<bool(String)>(&JsonObject::InsertArrayItem));
static_assert(HasMember<bool(JsonObject&)>(&JsonObject::InsertArrayItem));
static_assert(HasMember<bool(unsigned long)>(&JsonObject::RemoveArrayItem));
static_assert(HasMember<bool(char const*)>(&JsonObject::Remove));
static_assert(HasMember<Strings()>(&JsonObject::GetKeys));
static_assert(HasMember<JsonObject()>(&JsonObject::Copy));
static_assert(HasMember<String()>(&JsonObject::ToText));
static_assert(HasMember<String()>(&JsonObject::ToStyledText));

// Configuration
static_assert(
    Is<std::size_t(String, String, String, char*, int, String)>(GetPrivateProfileString));
static_assert(Is<int(String, String, unsigned int, String)>(GetPrivateProfileInt));
static_assert(Is<String()>(GetResourcePath));
static_assert(Is<bool()>(IsFinderSync));
static_assert(Is<String()>(GetHomePath));
static_assert(Is<String(String)>(GetAppDataPath));
static_assert(Is<String()>(GetSDKName));
static_assert(Is<String(String)>(GetOSXMountPath));
static_assert(Is<String()>(GetCurrentPath));
static_assert(Is<String()>(GetUserName));
static_assert(Is<String()>(GetLogPath));
static_assert(Is<LOGLEVEL()>(GetLogLevel));
static_assert(Is<LOGLEVEL(String)>(StringToLogLevel));
static_assert(std::is_same_v<std::underlying_type_t<LOGLEVEL>, std::int32_t>);
static_assert(Is<void(ILog*, LOGLEVEL, char const*, ...)>(__LOG__A));
static_assert(std::is_same_v<decltype(&ILog::LogV),
                             void (ILog::*)(LOGLEVEL, char const*, va_list)>);
static_assert(std::is_same_v<decltype(logger), ILog*>);
static_assert(std::is_same_v<decltype(InitLogger), int(char const*)>);
static_assert(
    std::is_same_v<decltype(GetLogger), int(int, char const*, LOGLEVEL, ILog**)>);
static_assert(Is<String(String)>(pexec));
static_assert(Is<bool(long long)>(IsRunningPID));

// Launcher, which is not linked here, so that no address is taken.
static_assert(std::is_constructible_v<ChildProc, String, JsonObject>);
static_assert(std::is_same_v<decltype(&ChildProc::Stop), void (ChildProc::*)()>);
static_assert(!std::is_copy_constructible_v<ChildProc>);
static_assert(!std::has_virtual_destructor_v<ChildProc>);
static_assert(std::is_same_v<decltype(sigterm_handler), void(int)>);
static_assert(std::is_same_v<decltype(InitDaemon), void()>);
static_assert(std::is_same_v<decltype(ReadData), bool(String, String&)>);
static_assert(std::is_same_v<decltype(InitLog), void(String)>);
static_assert(std::is_same_v<decltype(WriteEvent),
                             void(String const&, unsigned short, String const&)>);

TEST(Signatures, AreThoseThatCallersWereCompiledAgainst) {
    SUCCEED() << "the assertions above were checked when this was compiled";
}

}  // namespace
