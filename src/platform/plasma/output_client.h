#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/wayland/wayland_connection.h"

struct kde_output_configuration_v2;
struct kde_output_device_registry_v2;
struct kde_output_device_v2;
struct kde_output_management_v2;
struct wl_proxy;

namespace dravo::plasma {

/// What a display's colours are taken from: the protocol's numbers.
enum class ProfileSource : std::uint32_t { srgb, icc, edid };

struct ProfileSetting {
    std::string path;                     ///< May be empty.
    std::optional<ProfileSource> source;  ///< None where the compositor does not tell: it follows a path that is there.
    bool operator==(const ProfileSetting&) const = default;
};

/// What the compositor says of an output that is connected.
struct Output {
    std::string connector;
    std::vector<std::uint8_t> edid;
    bool isOn = false;
    bool takesProfiles = false;
    bool isHdr = false;
    ProfileSetting profile;
    bool operator==(const Output&) const = default;
};

/// The outputs of a Plasma session on one connection, and their configuration.
///
/// It only notes what the compositor says; what is configured, and again, is its owner's decision.
/// Thread: one.
class OutputClient {
public:
    /// REQUIRES: nothing has come on `connection` yet.
    explicit OutputClient(std::unique_ptr<wayland::Connection> connection);
    ~OutputClient();
    OutputClient(const OutputClient&) = delete;
    OutputClient& operator=(const OutputClient&) = delete;

    [[nodiscard]] wayland::Connection& connection() { return *connection_; }

    /// To be called once the connection has been served.
    void notice();
    /// Whether every output that was there has said everything of itself.
    [[nodiscard]] bool isComplete() const { return isComplete_; }
    /// Those that have, in the compositor's order.
    [[nodiscard]] std::vector<Output> outputs() const;
    /// Whether `outputs` has a new answer since the last call.
    bool takeChange() { return std::exchange(hasChanged_, false); }

    struct Change {
        std::string connector;
        ProfileSetting profile;
    };
    /// Applies the changes together. REQUIRES: not `isConfiguring`.
    void configure(std::span<const Change> changes);
    /// Whether an answer to `configure` is awaited, or has not been taken.
    [[nodiscard]] bool isConfiguring() const { return configuration_ != nullptr || answer_; }
    /// The answer, once; the outputs' new state has come before it. Errors: `PermissionDenied`, with the compositor's
    /// words if it gave any.
    std::optional<Result<void>> takeAnswer();

private:
    class Device;
    struct Listeners;

    void noteGlobal(const wayland::Connection::Global& global);
    void noteRemoval(std::uint32_t name);
    void add(kde_output_device_v2* proxy, std::uint32_t name);
    [[nodiscard]] Device* find(const std::string& connector) const;
    void noteAnswer(Result<void> answer);

    std::unique_ptr<wayland::Connection> connection_;
    kde_output_management_v2* manager_ = nullptr;
    kde_output_device_registry_v2* registry_ = nullptr;
    std::vector<std::unique_ptr<Device>> devices_;
    std::uint64_t question_ = 0;  ///< Its answer comes behind what the outputs known by then say of themselves.
    bool hasNew_ = false;
    bool isComplete_ = false;
    bool hasChanged_ = false;
    kde_output_configuration_v2* configuration_ = nullptr;
    std::string reason_;
    std::optional<Result<void>> answer_;
};

}  // namespace dravo::plasma
