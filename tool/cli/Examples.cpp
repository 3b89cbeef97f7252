#include "cli/Examples.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>

namespace Tool {

namespace {

constexpr std::size_t mostExamples = 3;

struct VerbsExamples {
    std::string_view verb;
    std::array<std::string_view, mostExamples> lines; ///< the last ones may be empty
};

constexpr VerbsExamples examples[]{
    {"list", {"mediadata list ringer", "mediadata list 'codec[?]/rank'", "mediadata list --changed --json"}},
    {"get", {"mediadata get ringer-volume", "mediadata get 61 AudioSettings/RingerMelody --json"}},
    {"set",
     {"mediadata set ringer-volume=5 ringer-melody=2", "mediadata set --dry-run 'codec[1]/allowed=false'",
      "echo ringer-volume=4 | mediadata set --file -"}},
    {"describe", {"mediadata describe ringer-volume", "mediadata describe 61 --json"}},
    {"explain", {"mediadata explain ringer-volume", "mediadata explain 'codec[1]/allowed' --color always"}},
    {"diff", {"mediadata diff", "mediadata diff template.json", "mediadata diff --commands >again.sh"}},
    {"export", {"mediadata export >telephone.json", "mediadata export --show-secrets | mediadata diff -"}},
    {"import", {"mediadata import --dry-run template.json", "mediadata import --atomic template.json"}},
    {"reset", {"mediadata reset ringer-volume", "mediadata reset --dry-run audio", "mediadata reset --all"}},
    {"history", {"mediadata history", "mediadata history ringer --limit 10"}},
    {"undo", {"mediadata set ringer-volume=6 && mediadata undo", "mediadata undo --dry-run --since '10 minutes ago'"}},
    {"catalogue", {"mediadata catalogue | grep Ringer", "mediadata catalogue --format markdown >settings.md"}},
    {"mgmt get", {"mediadata mgmt get ringer-volume", "mediadata mgmt get codecSettings --json"}},
    {"mgmt set", {"mediadata mgmt set ringer-volume=5", "mediadata mgmt set ringer-melody=1 handset-volume=6 --json"}},
    {"mgmt changed", {"mediadata mgmt changed country=DE", "mediadata mgmt changed function-key-def-100=line"}},
    {"mgmt reset-user-data", {"mediadata mgmt reset-user-data", "mediadata mgmt reset-user-data --json"}},
    {"mgmt journal", {"mediadata mgmt journal", "mediadata mgmt journal --json"}},
    {"fleet diff", {"mediadata fleet diff phones/*", "mediadata fleet diff --template template.json phones/*"}},
    {"fleet import",
     {"mediadata fleet import --template template.json phones/* --dry-run",
      "ls -d phones/* | mediadata fleet import --template template.json --from-file -"}},
    {"table", {"mediadata table codec", "mediadata table ringing --alert Emergency.Call"}},
    {"country", {"mediadata country", "mediadata country DE"}},
    {"mobility", {"mediadata mobility", "mediadata mobility managed"}},
    {"flags", {"mediadata flags", "mediadata flags opus_test", "mediadata flags --clear"}},
    {"device", {"mediadata device", "mediadata device --model entry --usb no"}},
    {"init", {"mediadata init phones/new", "mediadata init phones/copy --from template.json"}},
    {"shell", {"mediadata shell", "echo get ringer-volume | mediadata shell"}},
    {"serve", {"mediadata serve", "mediadata serve --json"}},
    {"watch",
     {"mediadata watch ringer", "mediadata watch --count 3 --json", "mediadata watch --initial --until ringer-volume=3"}},
    {"web", {"mediadata web --listen 127.0.0.1:0", "mediadata web --read-only --token-file token --listen [::1]:0"}},
};

} // namespace

std::span<std::string_view const> examplesOf(std::string_view verb)
{
    auto const* const row = std::ranges::find(examples, verb, &VerbsExamples::verb);
    if (row == std::end(examples))
        return {};
    auto const end = std::ranges::find(row->lines, std::string_view());
    return {row->lines.begin(), end};
}

} // namespace Tool
