// Plays a sequence of JsonObject's operations on four handles, and on a model of them.
// The handles are owners, or views in each other's documents. After every operation all
// handles must read as their models do. A letter of an input is an operation, see
// kOperations. The bytes after it are its arguments: handles, and what ByteSource takes.

#include "common/json/json_object.h"

#include <json/value.h>

#include <array>
#include <iterator>
#include <memory>
#include <set>
#include <stdexcept>
#include <vector>

#include "fuzz/byte_source.h"
#include "fuzz/fuzzing.h"
#include "fuzz/json_model.h"

namespace {

using json_model::Member;
using json_model::Outcome;
using json_model::Value;

// Left out: longer sequences and larger documents, which only take longer.
int const kMostOperations = 64;
std::size_t const kMostValues = 300;

// A handle and its model, which owns a document if the target is its own.
struct Handle {
    std::unique_ptr<JsonObject> real = std::make_unique<JsonObject>(nullptr);
    std::unique_ptr<Value> own = std::make_unique<Value>();
    Value* target = own.get();
};

// Returns how an operation on a real handle, or on a model, ends.
template <typename Operation>
Outcome OutcomeOf(Operation const& operation) {
    try {
        operation();
    } catch (Outcome const outcome) {
        return outcome;
    } catch (AERROR const error) {
        Require(error == AERROR_NOT_FOUND, "a path that is missing throws its code");
        return Outcome::kNotFound;
    } catch (Json::LogicError const&) {
        return Outcome::kWrongType;
    } catch (std::range_error const&) {
        return Outcome::kInvalidText;
    }
    return Outcome::kDone;
}

// Does both, and requires that they end in the same way. Returns whether they were done.
template <typename Real, typename Model>
bool DoBoth(Real const& real, Model const& model) {
    Outcome const outcome = OutcomeOf(real);
    Require(outcome == OutcomeOf(model), "an operation ends as its model does");
    return outcome == Outcome::kDone;
}

// Requires that both read as the same, or that both throw.
template <typename Result, typename Model>
void CheckResult(JsonObject& object, Model const& model) {
    Result real = {};
    Result expected = {};
    DoBoth([&] { real = object.operator Result(); }, [&] { expected = model(); });
    Require(real == expected, "a value converts as its model does");
}

void AddAll(Value& value, std::set<Value const*>& all) {
    all.insert(&value);
    for (Member& member : value.members) {
        AddAll(member.value, all);
    }
}

class Game {
  public:
    explicit Game(ByteSource bytes) : source(bytes) {}

    void Play();

  private:
    using Operation = void (Game::*)();

    Handle& TakeHandle() { return handles[source.Choice(4)]; }
    void Compare();
    void CheckReadBack();
    bool DropDanglingViews();
    void DropViewsInto(Value& value);

    template <typename Real, typename Model>
    void MakeView(Handle& handle, Real const& real, Model const& model);

    // The operations. One that makes a handle first takes the handle that it replaces.
    void Parse();
    void MakeEmpty();
    void MakeNull();
    void CopyConstruct();
    void Assign();
    void AssignText();
    void GetObject();
    void HasObject();
    void SubscriptName();
    void SubscriptIndex();
    void Insert();
    void InsertText();
    void InsertArrayItem();
    void InsertArrayText();
    void RemoveArrayItem();
    void Remove();
    void Copy();
    void Read();

    static constexpr Operation kOperations[] = {&Game::Parse,
                                                &Game::MakeEmpty,
                                                &Game::MakeNull,
                                                &Game::CopyConstruct,
                                                &Game::Assign,
                                                &Game::AssignText,
                                                &Game::GetObject,
                                                &Game::HasObject,
                                                &Game::SubscriptName,
                                                &Game::SubscriptIndex,
                                                &Game::Insert,
                                                &Game::InsertText,
                                                &Game::InsertArrayItem,
                                                &Game::InsertArrayText,
                                                &Game::RemoveArrayItem,
                                                &Game::Remove,
                                                &Game::Copy,
                                                &Game::Read};

    ByteSource source;
    std::array<Handle, 4> handles;
};

void Game::Play() {
    for (int i = 0; i < kMostOperations && !source.IsAtEnd(); ++i) {
        // 'a' is the first.
        unsigned const letter = (source.Byte() + 256 - 'a') % 256;
        (this->*kOperations[letter % std::size(kOperations)])();
        if (!DropDanglingViews()) {
            return;
        }
        Compare();
    }
    CheckReadBack();
}

void Game::Compare() {
    for (Handle& handle : handles) {
        Value const& value = *handle.target;
        Require(handle.real->ToText() == JsonText(value), "the texts are the same");
        Require(handle.real->IsValid() == (value.kind != Value::kNull),
                "all but null is valid");
        Require(handle.real->IsArray() == (value.kind == Value::kArray),
                "only an array is an array");
        Require(handle.real->GetArraySize() == value.members.size(),
                "the sizes are the same");
    }
}

void Game::CheckReadBack() {
    for (Handle& handle : handles) {
        std::string const text = handle.real->ToText();
        std::string const styled = handle.real->ToStyledText();
        Require(JsonObject(text.c_str()).ToText() == text, "text is read back");
        Require(JsonObject(styled.c_str()).ToText() == text, "styled text is read back");
    }
}

// Replaces each view whose value is gone by a null document. Returns false if the
// documents have become too large.
bool Game::DropDanglingViews() {
    std::set<Value const*> all;
    for (Handle& handle : handles) {
        AddAll(*handle.own, all);
    }
    for (Handle& handle : handles) {
        if (all.count(handle.target) == 0) {
            handle = Handle();
        }
    }
    return all.size() <= kMostValues;
}

void Game::DropViewsInto(Value& value) {
    std::set<Value const*> all;
    AddAll(value, all);
    for (Handle& handle : handles) {
        if (all.count(handle.target) != 0) {
            handle = Handle();
        }
    }
}

// Gives the handle a view; if making the view throws, leaves the handle as it is. The
// view may refer to the document of the handle that it replaces: then it dangles, and is
// dropped.
template <typename Real, typename Model>
void Game::MakeView(Handle& handle, Real const& real, Model const& model) {
    Handle view;
    if (DoBoth([&] { view.real = std::make_unique<JsonObject>(real()); },
               [&] { view.target = &model(); })) {
        handle = std::move(view);
    }
}

void Game::Parse() {
    Handle& handle = TakeHandle();
    Handle parsed;
    *parsed.own = source.TakeValue();
    std::string const text = JsonText(*parsed.own);
    parsed.real = source.Choice(2) == 0
                      ? std::make_unique<JsonObject>(text.c_str())
                      : std::make_unique<JsonObject>(
                            text.data(), static_cast<unsigned int>(text.size()));
    handle = std::move(parsed);
}

void Game::MakeEmpty() {
    Handle& handle = TakeHandle();
    Handle empty;
    empty.real = std::make_unique<JsonObject>(JsonObject::GetEmptyObject());
    empty.own->kind = Value::kObject;
    handle = std::move(empty);
}

void Game::MakeNull() {
    TakeHandle() = Handle();
}

void Game::CopyConstruct() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    Handle copy;
    copy.real = std::make_unique<JsonObject>(*other.real);
    if (other.own->kind == Value::kNull) {
        copy.target = other.target;
    } else {
        *copy.own = *other.own;
    }
    handle = std::move(copy);
}

// The model completes the copy before it destroys anything. So no new value has the
// address of an old one, to which there may still be views.
void Game::Assign() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    *handle.real = *other.real;
    if (other.own->kind == Value::kNull) {
        Value copy = *other.target;
        std::swap(*handle.target, copy);
    } else {
        Value copy = *other.own;
        std::swap(*handle.own, copy);
        handle.target = handle.own.get();
    }
}

void Game::AssignText() {
    Handle& handle = TakeHandle();
    std::string const text = source.Text();
    *handle.real = text;
    *handle.target = Value{Value::kText, 0, text, {}};
}

void Game::GetObject() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    std::string const path = source.Path();
    MakeView(
        handle, [&] { return other.real->GetObject(path.c_str()); },
        [&]() -> Value& {
            Value* const found = FindPath(*other.target, path);
            if (found == nullptr) {
                throw Outcome::kNotFound;
            }
            return *found;
        });
}

void Game::HasObject() {
    Handle& handle = TakeHandle();
    std::string const path = source.Path();
    bool real = false;
    bool expected = false;
    DoBoth([&] { real = handle.real->HasObject(path.c_str()); },
           [&] { expected = FindPath(*handle.target, path) != nullptr; });
    Require(real == expected, "a path is there if the model has it");
}

void Game::SubscriptName() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    std::string const name = source.Name();
    MakeView(
        handle, [&] { return (*other.real)[name.c_str()]; },
        [&]() -> Value& { return MemberAt(*other.target, name); });
}

void Game::SubscriptIndex() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    int const index = static_cast<int>(source.Choice(12)) - 1;
    MakeView(
        handle, [&] { return (*other.real)[index]; },
        [&]() -> Value& { return ElementAt(*other.target, index); });
}

void Game::Insert() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    std::string const name = source.Name();
    Value copy = *other.target;
    DoBoth([&] { Require(handle.real->Insert(name.c_str(), *other.real), "it is true"); },
           [&] { std::swap(MemberAt(*handle.target, name), copy); });
}

void Game::InsertText() {
    Handle& handle = TakeHandle();
    std::string const name = source.Name();
    std::string const text = source.Text();
    std::wstring wide = Widen(text);
    bool const is_invalid = source.Choice(8) == 1;
    if (is_invalid) {
        wide += static_cast<wchar_t>(0xD800);
    }
    DoBoth([&] { Require(handle.real->Insert(name.c_str(), wide), "it is true"); },
           [&] {
               if (is_invalid) {
                   throw Outcome::kInvalidText;
               }
               MemberAt(*handle.target, name) = Value{Value::kText, 0, text, {}};
           });
}

void Game::InsertArrayItem() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    Value copy = *other.target;
    DoBoth([&] { Require(handle.real->InsertArrayItem(*other.real), "it is true"); },
           [&] { Append(*handle.target, copy); });
}

void Game::InsertArrayText() {
    Handle& handle = TakeHandle();
    std::string const text = source.Text();
    DoBoth([&] { Require(handle.real->InsertArrayItem(text), "it is true"); },
           [&] {
               Append(*handle.target, Value{Value::kText, 0, text, {}});
           });
}

// Views to the elements that move down are dropped before.
void Game::RemoveArrayItem() {
    Handle& handle = TakeHandle();
    std::size_t const index = source.Choice(12);
    bool const exists = HasElement(*handle.target, index);
    if (exists) {
        auto& elements = handle.target->members;
        for (auto i = std::next(elements.begin(), static_cast<long>(index));
             i != elements.end(); ++i) {
            DropViewsInto(i->value);
        }
        RemoveElement(*handle.target, index);
    }
    // Only the low 32 bits count.
    unsigned long const high_bits = source.Choice(2) == 0 ? 0 : 0x100000000;
    Require(handle.real->RemoveArrayItem(index + high_bits) == exists,
            "an element is removed if it was there");
}

void Game::Remove() {
    Handle& handle = TakeHandle();
    std::string const name = source.Name();
    Require(handle.real->Remove(name.c_str()) == RemoveMember(*handle.target, name),
            "a member is removed if it was there");
}

void Game::Copy() {
    Handle& handle = TakeHandle();
    Handle& other = TakeHandle();
    MakeView(
        handle, [&] { return other.real->Copy(); },
        [&]() -> Value& { return *other.target; });
}

void Game::Read() {
    Handle& handle = TakeHandle();
    JsonObject& object = *handle.real;
    Value const& value = *handle.target;
    auto const integer = [&] { return Integer(value); };
    CheckResult<long long>(object, integer);
    CheckResult<long>(object, integer);
    CheckResult<int>(object, [&] { return static_cast<std::int32_t>(Integer(value)); });
    CheckResult<AERROR>(object, [&] { return static_cast<AERROR>(Integer(value)); });
    CheckResult<unsigned long long>(object, [&] { return Unsigned(value); });
    CheckResult<double>(object, [&] { return Real(value); });
    CheckResult<bool>(object, [&] { return Truth(value); });
    CheckResult<std::string>(object, [&] { return std::string(Text(value).c_str()); });
    CheckResult<std::wstring>(
        object, [&] { return DecodeUtf8Strictly(Text(value).c_str()).value(); });

    std::vector<std::string> real;
    std::vector<std::string> expected;
    DoBoth([&] { real = object.GetKeys(); }, [&] { expected = NamesIn(value); });
    Require(real == expected, "the names are those of the model, in order");
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    Game(ByteSource(data, size)).Play();
    return 0;
}
