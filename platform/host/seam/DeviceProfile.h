// Which telephone the workstation plays: what HardwareVersion answers.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace Host {

struct DeviceProfile {
    enum class Model { other, entry, top };

    Model model = Model::other;
    bool usb = true;

    bool operator==(DeviceProfile const&) const = default;
};

/// The models' names, in the order of the enumeration.
constexpr std::array<std::string_view, 3> modelNames{"other", "entry", "top"};

inline std::string modelName(DeviceProfile::Model model)
{
    return std::string(modelNames[static_cast<std::size_t>(model)]);
}

/// False, with `model` untouched, for a name that no model has.
inline bool modelNamed(std::string_view name, DeviceProfile::Model& model)
{
    for (std::size_t i = 0; i < modelNames.size(); ++i)
        if (modelNames[i] == name) {
            model = static_cast<DeviceProfile::Model>(i);
            return true;
        }
    return false;
}

} // namespace Host
