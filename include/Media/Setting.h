// The settings as a client of today wants them: typed by the catalogue while compiling, read without waiting, set with a reason
// when refused, followed until the follower goes away. Works beside Media::MediaDataCache, on the same cache.
//
//     Media::Setting<Data::eDataTagRingerVolume> volume;
//     int const now = volume.get();
//     if (auto const result = volume.set(5); !result.ok())
//         complain(result.reason());
//     auto const subscription = volume.onChange([](int value) { show(value); });
#pragma once

#if __cplusplus < 202002L
#error "Media/Setting.h needs C++20: compile with -std=c++20 or a later standard."
#endif

#include "Data/BulkData.h"
#include "Data/Export.h"
#include "Data/FindTag.h"
#include "Data/SettingTraits.h"
#include "Media/MediaDataCache.h"
#include "Media/Result.h"

#include <array>
#include <concepts>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Data {
class Subscriber;
}

namespace Media {

/// Asks that the management service is told of a value that is set.
struct TellManagement {};
inline constexpr TellManagement tellManagement{};

namespace Detail {

/// A value of a setting, by its type.
using Value = std::variant<int, bool, std::string>;

/// A setting to be read, and where to: an int, a bool or a std::string, as its type says.
struct Wanted {
    Data::eDataTag tag;
    void* value;
};

// Publication begins with the first setting of the process, which may wait for the cache's lock once.
MEDIADATA_EXPORT void beginPublication();

// What was last published; in an operation of the cache, what it has set. They never wait.
MEDIADATA_EXPORT int publishedNumber(Data::eDataTag tag);
MEDIADATA_EXPORT void publishedText(Data::eDataTag tag, std::string& text);
MEDIADATA_EXPORT void publishedTogether(Wanted const* wanted, std::size_t count);

// Under the cache's lock; the catalogue's default without cache.
MEDIADATA_EXPORT void lockedValue(Wanted const& wanted);

MEDIADATA_EXPORT Result setValue(Data::eDataTag tag, Value const& value, bool toManagement);
/// Null when it is not among them.
MEDIADATA_EXPORT std::optional<Value> changedValue(Data::BulkData const& changed, Data::eDataTag tag);

template <Data::eDataItemType type> using ValueOf =
    std::conditional_t<type == Data::eDataItemTypeInt, int,
                       std::conditional_t<type == Data::eDataItemTypeBool, bool, std::string>>;

template <class T, class... Others> inline constexpr bool isOneOf = (std::same_as<T, Others> || ...);

/// What a setting may be set to without a conversion that loses or guesses: text is no bool, and neither a double nor a character
/// is an int.
template <class Given, class T> inline constexpr bool isAccepted = false;
template <class Given> inline constexpr bool isAccepted<Given, bool> = std::same_as<Given, bool>;
template <class Given> inline constexpr bool isAccepted<Given, int> =
    std::integral<Given> && !isOneOf<Given, bool, char, char8_t, char16_t, char32_t, wchar_t> &&
    (sizeof(Given) < sizeof(int) || (sizeof(Given) == sizeof(int) && std::signed_integral<Given>));
template <class Given> inline constexpr bool isAccepted<Given, std::string> =
    std::convertible_to<Given const&, std::string_view> && !std::same_as<Given, std::nullptr_t>;

template <class T, class Given> T accepted(Given const& given)
{
    static_assert(
        isAccepted<std::decay_t<Given const&>, T>,
        "Media::Setting: a setting takes values of its own type: an int setting integers that always fit (no bool, no "
        "character, and what is wider or unsigned with a cast), a bool setting a bool, a string setting text.");
    return T(given);
}

} // namespace Detail

/// A tag that has a value of its own in the cache: no table, no group, nothing that is switched off or kept elsewhere.
template <Data::eDataTag tag>
concept HasValue = Data::hasValue(tag);

/// One that is read without the cache's lock: no secret, and no flag of the flag file.
template <Data::eDataTag tag>
concept IsPublished = Data::isPublished(tag);

class Subscription;
/// Calls `function` once for each notification pass in which one of the tags changed, with those of them that changed, on the
/// thread that made the change; everything that MediaDataCache::registerCallback says of a callback holds. What it throws is
/// logged and goes no further. Empty without cache, and when the cache has none of the tags.
[[nodiscard]] MEDIADATA_EXPORT Subscription onChange(std::vector<Data::eDataTag> const& tags,
                                                     std::function<void(Data::BulkData const& changed)> function);

/// Ends a function's being called. Movable; empty when nothing was subscribed.
class MEDIADATA_EXPORT Subscription {
public:
    Subscription() noexcept;
    Subscription(Subscription&& other) noexcept;
    Subscription& operator=(Subscription&& other) noexcept;
    Subscription(Subscription const&) = delete;
    Subscription& operator=(Subscription const&) = delete;

    /// Once it returns, the function is not running on another thread and is never called again; it waits for a call that is
    /// under way elsewhere. Within an operation of the cache (in a callback, in a call of the management service) it does not
    /// wait: a call on another thread may then still be under way. Do not destroy it while holding a mutex that the function
    /// takes. After `terminate` it does nothing.
    ~Subscription();

    /// False when it was made without cache, for tags of which the cache has none, or with an empty function; also after
    /// `terminate`: a later `init` does not revive it.
    explicit operator bool() const noexcept;

private:
    friend Subscription onChange(std::vector<Data::eDataTag> const&, std::function<void(Data::BulkData const&)>);
    MEDIADATA_HIDDEN explicit Subscription(std::shared_ptr<Data::Subscriber> subscriber) noexcept;

    std::shared_ptr<Data::Subscriber> m_subscriber;
};

/// One setting. Has no state: any number may be made, anywhere, and used by any thread.
template <Data::eDataTag tag> class Setting {
    static constexpr auto traits = Data::traitsOf(tag);
    static_assert(traits.kind != Data::ValueKind::NoSetting,
                  "Media::Setting: this number is no setting; use a tag of the catalogue (Data/DataTypes.h).");
    static_assert(traits.kind != Data::ValueKind::Table,
                  "Media::Setting: a table or group has no value of its own; use the settings of its cells or members, and "
                  "Media::Batch to set several of them at once.");
    static_assert(
        traits.kind != Data::ValueKind::SwitchedOff,
        "Media::Setting: this setting is switched off in the catalogue and has no value; ask the management service "
        "with Media::MediaDataCache::getData.");
    static_assert(
        traits.kind != Data::ValueKind::Elsewhere,
        "Media::Setting: this setting belongs to another component and is not kept here; ask the management service "
        "with Media::MediaDataCache::getData.");

public:
    using value_type = Detail::ValueOf<traits.type()>;

    /// The first of the process waits for the cache's lock once. When it is made within an operation of the cache (in a callback),
    /// other threads' reads wait for that operation, too: make one before `init`, or outside of callbacks. A global one is not to be
    /// read before its constructor has run.
    Setting() { Detail::beginPublication(); }

    /// What was last published: at the end of each operation that changes something, and before anybody is told of a change.
    /// Never locks and never waits (but when there was no memory to publish in), and allocates nothing for int and bool.
    /// Within an operation of the cache this thread sees what it has set so far. Without cache the catalogue's default. A
    /// secret and a flag of the flag file are read under the cache's lock.
    value_type get() const
    {
        if constexpr (!IsPublished<tag>) {
            value_type value{};
            Detail::lockedValue({tag, &value});
            return value;
        } else if constexpr (std::same_as<value_type, std::string>) {
            std::string text;
            Detail::publishedText(tag, text);
            return text;
        } else {
            return static_cast<value_type>(Detail::publishedNumber(tag));
        }
    }

    /// The same, into a text of the caller's: allocates nothing when it has room.
    void get(std::string& text) const requires std::same_as<value_type, std::string>
    {
        if constexpr (IsPublished<tag>)
            Detail::publishedText(tag, text);
        else
            Detail::lockedValue({tag, &text});
    }

    /// As MediaDataCache::setData, also within a callback. With `tellManagement` the management service is told.
    template <class T> Result set(T const& value) const
    {
        return Detail::setValue(tag, Detail::accepted<value_type>(value), false);
    }
    template <class T> Result set(T const& value, TellManagement) const
    {
        return Detail::setValue(tag, Detail::accepted<value_type>(value), true);
    }

    /// Calls `function` with the new value whenever it changed; see Media::onChange.
    [[nodiscard]] Subscription onChange(std::function<void(value_type const& value)> function) const
    {
        if (!function)
            return {};
        return Media::onChange({tag}, [call = std::move(function)](Data::BulkData const& changed) {
            if (auto const value = Detail::changedValue(changed, tag))
                call(std::get<value_type>(*value));
        });
    }
};

class [[nodiscard]] BatchResult {
public:
    explicit BatchResult(std::vector<Refusal> refused) : m_refused(std::move(refused)) {}

    /// All is taken. (A table that others changed and that is refused only now is none of its affairs.)
    bool ok() const { return m_refused.empty(); }
    /// What was not taken and why, in the order of the tags; what a rule made of the values included. The others are stored.
    std::vector<Refusal> const& refused() const { return m_refused; }

private:
    std::vector<Refusal> m_refused;
};

/// Several settings, set in the order of their tags, stored together and announced together, as by
/// MediaDataCache::setDataBulk. An object of one thread.
class MEDIADATA_EXPORT Batch {
public:
    /// The last value of a setting counts.
    template <Data::eDataTag tag, class T> Batch& set(Setting<tag> const&, T const& value)
    {
        m_values.emplace_back(tag, Detail::accepted<typename Setting<tag>::value_type>(value));
        return *this;
    }

    /// Sets them all; always tells the management service. The batch keeps its values.
    BatchResult commit() const;

private:
    std::vector<std::pair<Data::eDataTag, Detail::Value>> m_values;
};

/// The values of several settings at one moment, as a tuple. Never waits; begins anew while writers publish these very settings
/// faster than they can be read.
template <Data::eDataTag... tags>
requires(sizeof...(tags) > 0 && (IsPublished<tags> && ...)) auto read(Setting<tags> const&...)
{
    std::tuple<typename Setting<tags>::value_type...> values;
    std::apply(
        [](auto&... each) {
            std::array<Detail::Wanted, sizeof...(tags)> const wanted{Detail::Wanted{tags, &each}...};
            Detail::publishedTogether(wanted.data(), wanted.size());
        },
        values);
    return values;
}

} // namespace Media
