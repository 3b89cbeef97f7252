#include "workbench/Import.h"

#include "workbench/Accepted.h"
#include "workbench/Consequences.h"
#include "workbench/Device.h"
#include "workbench/Document.h"
#include "workbench/FlagFile.h"
#include "workbench/Items.h"
#include "workbench/Management.h"
#include "workbench/Outcomes.h"
#include "workbench/Snapshot.h"
#include "workbench/Values.h"
#include "workbench/Workbench.h"

#include "Data/DataItemBuilder.h"
#include "Tables/SettingOptions.h"

#include "HostPlatform.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

/// Something of the document that is no setting: of the device, the flag file or the management service.
struct Other {
    std::string name;
    Json before;
    Json wanted; ///< null: goes away
    Result result = Result::Unchanged;
    std::string accepted = {};
    std::string reason = {};
};

std::vector<eDataTag> unreadableOf(Document const& document)
{
    std::vector<eDataTag> tags;
    for (auto const& [tag, value] : document.settings) {
        if (isUnreadable(tag, value))
            tags.push_back(tag);
    }
    return tags;
}

/// Everything that an import is about, first checked and then applied.
class Import {
public:
    Import(Workbench& workbench, Document const& document) : m_workbench(workbench)
    {
        auto const service = serviceValues(workbench);
        for (auto const& [tag, value] : document.settings)
            addSetting(tag, textOf(value));
        auto const profile = workbench.platform().deviceProfile();
        if (document.model)
            addDevice("device/model", Host::modelName(profile.model), *document.model);
        if (document.usb)
            addDevice("device/usb", profile.usb, *document.usb);
        if (document.flags)
            addFlags(m_flags = *document.flags);
        for (auto const& [name, value] : document.service)
            addService(name, service, value);
        for (auto const& name : document.withdrawn) {
            auto const held = service.find(name);
            add(name, held == service.end() ? Json() : Json(held->second), {});
            m_workbench.journal().ask(*findItem(name));
        }
        for (auto const& [name, reason, near, place] : document.unknown) {
            auto const hint = near.empty() ? "" : fmt::format("; did you mean {}?", fmt::join(near, ", "));
            m_others.push_back({name, {}, {}, Result::Unknown, {}, fmt::format("{}: {}{}", place, reason, hint)});
        }
    }

    /// What the tables say, and in which order their rows go. A dry run changes nothing for it.
    void check(bool dryRun)
    {
        checkTables(m_workbench, m_settings);
        applyHardwareFirst(dryRun);
        refuseUndone(m_settings, Manner::Together);
        orderByRank(m_workbench, m_settings);
    }

    /// When something was refused, true, and everything else is held back.
    bool holdAllBack()
    {
        if (!isAnyBad())
            return false;
        holdGoodBack();
        return true;
    }

    void holdGoodBack()
    {
        takeBackOthers();
        auto const hold = [](auto& each) {
            if (isGood(each.result))
                each.result = Result::HeldBack;
        };
        std::for_each(m_others.begin(), m_others.end(), hold);
        std::for_each(m_settings.begin(), m_settings.end(), hold);
    }

    /// What would be besides what the document names.
    Forecast forecast() const
    {
        auto forecast = forecastOf(m_settings, Manner::Together);
        auto const isFlag = [](Other const& each) { return isGood(each.result) && each.name.starts_with("flags/"); };
        if (std::ranges::any_of(m_others, isFlag))
            forecast.set(hardwareFlagsBy(m_flags, forecast));
        return forecast;
    }

    Tags asked() const
    {
        auto tags = askedFor(m_settings);
        for (auto const& [word, tag] : Tables::flagWords())
            tags.insert(tag);
        for (auto const& other : m_others) {
            if (auto const tag = findItem(other.name))
                tags.insert(*tag);
        }
        return tags;
    }

    void noteAllRefusals() { noteRefusals(m_workbench, m_settings); }

    void apply(bool atomic)
    {
        auto const earlier = Snapshot::values();
        auto const all = toStore();
        auto const tell = [&] {
            if (m_workbench.progress)
                m_workbench.progress(all - toStore(), all);
        };
        tell();
        storeTogether(m_workbench, m_settings);
        // The flags after the tables: a start reads the tables before it looks at the flag file, too.
        for (auto const step : {&Import::applyDevice, &Import::applyFlags, &Import::applyService}) {
            // The check of a table may still refuse what its rehearsal took, as may the disk.
            tell();
            if (!atomic || !isAnyBad())
                (this->*step)();
        }
        if (!atomic || !isAnyBad())
            return;
        holdAllBack();
        putBack(m_workbench, earlier);
    }

    Report report(ImportOptions const& options) const;

private:
    /// A table may be refused only since the present device and flags hide some of its rows: then those of the document are
    /// applied first, or it is checked with what they would say.
    void applyHardwareFirst(bool dryRun)
    {
        auto const isOfTable = [](Outcome const& each) {
            return each.result == Result::Refused && !each.wanted.is_null() && storedTableOf(each.tag) != eDataTagNone;
        };
        if (std::none_of(m_settings.begin(), m_settings.end(), isOfTable) ||
            (toStore("flags/").empty() && toStore("device/").empty()))
            return;
        if (!dryRun) {
            applyDevice();
            applyFlags();
        }
        for (auto& each : m_settings) {
            if (isOfTable(each))
                each = Tool::check(each.tag, each.text, {});
        }
        DataTagValue_t hardware;
        for (auto const& [flag, value] : dryRun ? hardwareFlagsBy(m_flags, {}) : std::map<eDataTag, Json>())
            hardware[flag] = textOf(value);
        checkTables(m_workbench, m_settings, hardware);
    }

    bool isAnyBad() const
    {
        auto const counts = [](auto const& each) { return isBad(each.result); };
        return std::any_of(m_others.begin(), m_others.end(), counts) ||
               std::any_of(m_settings.begin(), m_settings.end(), counts);
    }

    /// The device and the flags as they were. The service comes last and takes all or nothing.
    void takeBackOthers()
    {
        auto const account = std::exchange(m_others, {});
        for (auto const& each : account) {
            if (each.result == Result::Stored)
                add(each.name, each.wanted, each.before);
        }
        applyDevice();
        applyFlags();
        auto const undone = std::exchange(m_others, account);
        for (auto& other : m_others) {
            auto const isStill = [&](Other const& each) { return each.name == other.name && each.result == Result::Failed; };
            if (std::any_of(undone.begin(), undone.end(), isStill)) {
                other.result = Result::Failed;
                other.reason = "is stored, and could not be taken back";
            }
        }
    }

    void addSetting(eDataTag tag, std::string const& text)
    {
        m_workbench.journal().ask(tag);
        auto& outcome = m_settings.emplace_back(Tool::check(tag, text, {}));
        if (isKept(tag) || outcome.result == Result::Refused)
            return;
        outcome.result = Result::Refused;
        outcome.reason =
            isFleeting(tag) ? "nothing keeps it over a restart" : "belongs to another component: give it under service";
    }

    Other& add(std::string name, Json before, Json wanted)
    {
        auto& other = m_others.emplace_back(Other{std::move(name), std::move(before), std::move(wanted)});
        if (other.before != other.wanted)
            other.result = Result::WouldStore;
        return other;
    }

    static void refuse(Other& other, std::string accepted, std::string reason)
    {
        other.result = Result::Refused;
        other.accepted = std::move(accepted);
        other.reason = std::move(reason);
    }

    void addDevice(char const* name, Json before, Json wanted)
    {
        auto& other = add(name, std::move(before), std::move(wanted));
        Host::DeviceProfile::Model model{};
        if (other.wanted.is_string() && !Host::modelNamed(other.wanted.get_ref<std::string const&>(), model))
            refuse(other, "entry | top | other", "no such model");
    }

    void addFlags(std::map<std::string, std::string> const& wanted)
    {
        auto const present = flagFileValues();
        for (auto const& [word, tag] : Tables::flagWords()) {
            auto const old = present.find(word);
            auto const now = wanted.find(word);
            if (old == present.end() && now == wanted.end())
                continue;
            m_workbench.journal().ask(tag);
            auto& other = add(std::string("flags/") + word, old == present.end() ? Json() : Json(old->second),
                              now == wanted.end() ? Json() : Json(now->second));
            std::string reason;
            if (now != wanted.end() && validate(tag, now->second, reason).is_null())
                refuse(other, "true | false", reason);
        }
    }

    void addService(std::string const& name, ServiceValues const& service, std::string const& text)
    {
        auto const old = service.find(name);
        auto const tag = *findItem(name);
        auto const wanted = libraryText(tag, text);
        auto& other = add(name, old == service.end() ? Json() : Json(old->second), wanted);
        auto reason = whyUnfit(tag, wanted);
        if (DataCache::DataItemBuilder::dataItemDefaultTable[tag].component == eDataComponentMedia)
            refuse(other, {}, "belongs to the media component: give it under settings");
        else if (!reason.empty() || (exists(tag) && validate(tag, wanted, reason).is_null()))
            refuse(other, {}, reason);
        m_workbench.journal().ask(tag);
    }

    /// How much is still to be stored.
    std::size_t toStore() const
    {
        auto const counts = [](auto const& each) { return each.result == Result::WouldStore; };
        return static_cast<std::size_t>(std::ranges::count_if(m_settings, counts) + std::ranges::count_if(m_others, counts));
    }

    std::vector<Other*> toStore(std::string const& prefix)
    {
        std::vector<Other*> result;
        for (auto& other : m_others) {
            if (other.result == Result::WouldStore && other.name.starts_with(prefix))
                result.push_back(&other);
        }
        return result;
    }

    static void settle(std::vector<Other*> const& others, Report const& answer)
    {
        for (auto* const other : others) {
            other->result = answer.code == exitOk ? Result::Stored : Result::Failed;
            if (answer.code != exitOk)
                other->reason = answer.problems.front().reason;
        }
    }

    void applyDevice()
    {
        auto const changed = toStore("device/");
        std::string model;
        std::string usb;
        for (auto const* const other : changed)
            (other->wanted.is_string() ? model : usb) = other->wanted.is_string()     ? other->wanted.get<std::string>()
                                                        : other->wanted == Json(true) ? "yes"
                                                                                      : "no";
        if (!changed.empty())
            settle(changed, device(m_workbench, model, usb));
    }

    void applyFlags()
    {
        auto const changed = toStore("flags/");
        std::vector<std::string> words;
        words.reserve(changed.size());
        for (auto const* const other : changed)
            words.push_back(other->name.substr(other->name.find('/') + 1) + "=" +
                            (other->wanted.is_null() ? "" : other->wanted.get<std::string>()));
        if (!changed.empty())
            settle(changed, flags(m_workbench, words, false, false));
    }

    void applyService()
    {
        auto changed = toStore("");
        auto const gone =
            std::stable_partition(changed.begin(), changed.end(), [](Other const* each) { return !each->wanted.is_null(); });
        settleService({changed.begin(), gone}, changeService);
        settleService({gone, changed.end()}, withdrawFromService);
    }

    void settleService(std::vector<Other*> const& others, bool (*action)(Workbench&, TagTexts const&))
    {
        TagTexts values;
        for (auto const* const other : others) {
            auto const tag = *findItem(other->name);
            values.emplace_back(tag, textOf(other->wanted.is_null() ? defaultOf(tag) : other->wanted));
        }
        if (!others.empty())
            settle(others, action(m_workbench, values)
                               ? Report{}
                               : failure(exitStorage, "", "the management service could not keep it"));
    }

    Workbench& m_workbench;
    FlagValues m_flags; ///< of the document
    std::vector<Outcome> m_settings;
    std::vector<Other> m_others;
};

Report Import::report(ImportOptions const& options) const
{
    Report report;
    bool const secrets = m_workbench.options().showSecrets;
    Section items{"items", Layout::Table, accountColumns(), {}};
    Section counts{"counts", Layout::Pairs, {}, {{}}};
    std::map<Result, std::size_t> numbers;
    auto const add = [&](Result result, std::vector<Json> row) {
        ++numbers[result];
        if (options.all || result != Result::Unchanged)
            items.rows.push_back(std::move(row));
    };
    for (auto const& outcome : m_settings)
        add(outcome.result, accountRow(outcome, secrets));
    auto const orNull = [](std::string const& text) { return text.empty() ? Json() : Json(text); };
    for (auto const& other : m_others)
        add(other.result, {wordOf(other.result), other.name, typedValue(other.name, other.before),
                           typedValue(other.name, other.wanted), orNull(other.accepted), orNull(other.reason)});
    for (auto const& [result, number] : numbers) {
        counts.columns.emplace_back(wordOf(result));
        counts.rows.front().emplace_back(number);
    }
    report.sections = {std::move(items), std::move(counts)};
    if (numbers[Result::Refused] != 0)
        report.fail(exitRefused, {"", fmt::format("{} values refused", numbers[Result::Refused])});
    if (numbers[Result::Unknown] != 0)
        report.fail(exitUnknownItem,
                    {"", fmt::format("{} items unknown: nothing was stored{}", numbers[Result::Unknown],
                                     numbers[Result::Stored] + numbers[Result::Failed] == 0 ? "" : " of them")});
    if (numbers[Result::Failed] != 0)
        report.raise(exitStorage); // The history says why and how many.
    return report;
}

} // namespace

Report exportDocument(Workbench& workbench, std::optional<std::string> const& passphrase)
{
    auto document = documentOf(workbench);
    auto const lost = unreadableOf(document);
    Report report;
    if (workbench.options().showSecrets) {
        for (auto const tag : lost)
            document.settings.erase(tag); // Everything else in plain.
    } else if (passphrase) {
        if (!seal(document, *passphrase))
            return failure(exitInternal, "", "the secrets could not be encrypted");
    } else {
        auto const set = dropSecrets(document) - lost.size();
        if (set != 0)
            report.fail(exitOk, {"", fmt::format("{} secrets are left out; --secrets encrypts them", set)});
    }
    std::vector<std::string> names;
    std::ranges::transform(lost, std::back_inserter(names), nameOf);
    if (!lost.empty())
        report.fail(exitOk, {"", fmt::format("{} left out, unreadable: {}", lost.size() == 1 ? "a secret is" : "secrets are",
                                             fmt::join(names, ", "))});
    report.sections.push_back({"export", Layout::Text, {"text"}, {{textOf(document)}}});
    return report;
}

Report importDocument(Workbench& workbench, Document const& document, ImportOptions options)
{
    Snapshot const before(workbench);
    Import import(workbench, document);
    import.check(options.dryRun);
    bool const heldBack = options.atomic && import.holdAllBack();
    auto const forecast = import.forecast();
    auto const asked = import.asked();
    auto const losses = options.yes ? std::vector<eDataTag>() : wiped(forecast, asked);
    bool const asks = !losses.empty() && !options.dryRun;
    auto foretold = alsoChanged(workbench, forecast, asked);
    if (asks)
        import.holdGoodBack();
    else if (!options.dryRun && !heldBack)
        import.apply(options.atomic);
    if (!options.dryRun && !asks)
        import.noteAllRefusals();
    auto report = import.report(options);
    report.sections.push_back(options.dryRun ? std::move(foretold) : alsoChanged(before, asked));
    addWiped(workbench, report, losses);
    if (asks)
        askToWipe(report, losses);
    return report;
}

} // namespace Tool
