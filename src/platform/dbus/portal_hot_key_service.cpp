#include "platform/dbus/portal_hot_key_service.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>
#include <string_view>
#include <utility>

#include "app/keyboard_shortcut.h"
#include "base/localized.h"
#include "base/report.h"

namespace dravo::dbus {

namespace {

constexpr const char* kService = "org.freedesktop.portal.Desktop";
constexpr const char* kPath = "/org/freedesktop/portal/desktop";
constexpr const char* kShortcuts = "org.freedesktop.portal.GlobalShortcuts";
constexpr const char* kRegistry = "org.freedesktop.host.portal.Registry";
constexpr const char* kSession = "org.freedesktop.portal.Session";
constexpr const char* kProperties = "org.freedesktop.DBus.Properties";
constexpr const char* kShortcutId = "toggle";
constexpr std::uint32_t kConfigurableSince = 2;

// The portal may have to be started, and starts its backends in turn.
constexpr std::chrono::seconds kTimeout{30};

constexpr const char* kAdapter = "portal";
constexpr TextKey kNoneForPrograms = textKey("this desktop reserves no keys for programs");
constexpr TextKey kBindCommand = textKey("Bind this command to a key in the desktop's own settings");
constexpr TextKey kAskAgain = textKey("Switch it off and on again to be asked again");

/// How the keysyms are called that are not called as their keys.
constexpr std::pair<std::int64_t, std::string_view> kKeysymNames[] = {
    {24, "equal"},      {27, "minus"},     {30, "bracketright"}, {33, "bracketleft"}, {36, "Return"},
    {39, "apostrophe"}, {41, "semicolon"}, {42, "backslash"},    {43, "comma"},       {44, "slash"},
    {47, "period"},     {48, "Tab"},       {49, "space"},        {50, "grave"},       {51, "BackSpace"},
    {53, "Escape"},     {123, "Left"},     {124, "Right"},       {125, "Down"},       {126, "Up"},
};

std::string keysymName(std::int64_t keyCode) {
    const auto named = std::ranges::find(kKeysymNames, keyCode, &std::pair<std::int64_t, std::string_view>::first);
    if (named != std::end(kKeysymNames)) return std::string(named->second);
    if (!hasName(keyCode)) return {};
    std::string name = displayString(keyCode, 0);
    if (name.size() == 1) name[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(name[0])));
    return name;
}

/// The keys in an `a(sa{sv})` at the message's position, as the desktop writes them.
std::string keysIn(sd_bus_message* shortcuts) {
    std::string keys;
    if (sd_bus_message_enter_container(shortcuts, 'a', "(sa{sv})") < 0) return keys;
    while (sd_bus_message_enter_container(shortcuts, 'r', "sa{sv}") > 0) {
        const char* id = nullptr;
        if (sd_bus_message_read(shortcuts, "s", &id) < 0) break;
        const bool isOurs = std::strcmp(id, kShortcutId) == 0;
        const bool isRead =
            readDictionary(shortcuts, [&](const char* key, const char* signature, sd_bus_message* value) {
                const char* text = nullptr;
                if (isOurs && std::strcmp(key, "trigger_description") == 0 && std::strcmp(signature, "s") == 0 &&
                    sd_bus_message_read(value, "s", &text) > 0)
                    keys = text;
            });
        if (!isRead || sd_bus_message_exit_container(shortcuts) < 0) break;
    }
    return keys;
}

}  // namespace

std::string portalTrigger(HotKey hotKey) {
    const std::string key = keysymName(hotKey.keyCode);
    if (key.empty()) return {};
    constexpr std::pair<std::int64_t, std::string_view> kModifiers[] = {
        {shortcut_modifier::kControl, "CTRL+"},
        {shortcut_modifier::kAlt, "ALT+"},
        {shortcut_modifier::kShift, "SHIFT+"},
        {shortcut_modifier::kSuper, "LOGO+"},
    };
    std::string trigger;
    for (const auto& [bit, name] : kModifiers)
        if ((hotKey.modifiers & bit) != 0) trigger += name;
    return trigger + key;
}

PortalHotKeyService::PortalHotKeyService(Bus& sessionBus, Scheduler& scheduler, std::string appId, std::string command)
    : bus_(sessionBus),
      scheduler_(scheduler),
      appId_(std::move(appId)),
      command_(std::move(command)),
      start_(scheduler_.after({}, [this] { connect(); })) {}

Result<Subscription> PortalHotKeyService::registerHotKey(HotKey hotKey, std::function<void()> onPress) {
    registration_ = Registration{hotKey, std::move(onPress)};
    if (version_ != 0) createSession();
    return Subscription([this] {
        registration_.reset();
        endSession();
    });
}

void PortalHotKeyService::configure() {
    bus_.send(bus_.newCall(kService, kPath, kShortcuts, "ConfigureShortcuts", "osa{sv}", session_.c_str(), "", 0));
}

void PortalHotKeyService::connect() {
    if (!bus_.open()) return cannot({{}, textKey("there is no session bus"), kBindCommand, command_});
    const std::string sender = std::string("sender='") + kService + "',";
    responses_ = bus_.onSignal(sender + "interface='org.freedesktop.portal.Request',member='Response'",
                               [this](sd_bus_message* response) { onResponse(response); });
    activations_ = bus_.onSignal(ruleFor(kService, kPath, kShortcuts, "Activated"),
                                 [this](sd_bus_message* signal) { onActivated(signal); });
    keyChanges_ =
        bus_.onSignal(ruleFor(kService, kPath, kShortcuts, "ShortcutsChanged"), [this](sd_bus_message* signal) {
            const char* session = nullptr;
            if (sd_bus_message_read(signal, "o", &session) > 0 && session_ == session) take(keysIn(signal));
        });
    ends_ = bus_.onSignal(sender + "interface='" + kSession + "',member='Closed'", [this](sd_bus_message* signal) {
        if (session_.empty() || session_ != sd_bus_message_get_path(signal)) return;
        session_.clear();
        cannot({{}, textKey("the desktop has taken the keys back"), kAskAgain});
    });
    name_ = bus_.watchName(kService, [this](bool isOwned) { nameChanged(isOwned); });
}

// The first question is also asked of a portal that does not run: it is what starts it.
void PortalHotKeyService::nameChanged(bool isOwned) {
    // Gone with the portal that made it.
    session_.clear();
    step_ = Step::none;
    version_ = 0;
    if (isOwned || !std::exchange(hasAsked_, true)) {
        introduce();
    } else {
        become({});
    }
}

void PortalHotKeyService::introduce() {
    // Portals that do not know the first question know us by how we were started, or ask for no name.
    bus_.send(bus_.newCall(kService, kPath, kRegistry, "Register", "sa{sv}", appId_.c_str(), 0));
    answer_ = bus_.call(bus_.newCall(kService, kPath, kProperties, "Get", "ss", kShortcuts, "version"), kTimeout,
                        [this](const Bus::Answer& answer) { versionTold(answer); });
}

void PortalHotKeyService::versionTold(const Bus::Answer& answer) {
    if (!answer || sd_bus_message_read(*answer, "v", "u", &version_) < 0 || version_ == 0)
        return cannot({{}, kNoneForPrograms, kBindCommand, command_});
    become({.finding = {.adapter = kAdapter}});
    if (registration_) createSession();
}

/// The portal's answer to such a question is the object through which the outcome comes.
void PortalHotKeyService::ask(Step step, Message question) {
    step_ = step;
    request_.clear();
    answer_ = bus_.call(std::move(question), kTimeout, [this](const Bus::Answer& answer) {
        const char* path = nullptr;
        if (!answer) return cannot({{}, answer.error().message, kBindCommand, command_});
        if (sd_bus_message_read(*answer, "o", &path) > 0) request_ = path;
    });
}

void PortalHotKeyService::createSession() {
    // The one that is on its way serves whatever is wanted by then.
    if (step_ == Step::creating) return;
    endSession();
    ask(Step::creating, bus_.newCall(kService, kPath, kShortcuts, "CreateSession", "a{sv}", 2, "handle_token", "s",
                                     newToken().c_str(), "session_handle_token", "s", newToken().c_str()));
}

void PortalHotKeyService::bind() {
    const auto asking = [&](auto... suggestion) {
        constexpr int kProperties = 1 + sizeof...(suggestion) / 3;
        return bus_.newCall(kService, kPath, kShortcuts, "BindShortcuts", "oa(sa{sv})sa{sv}", session_.c_str(), 1,
                            kShortcutId, kProperties, "description", "s", localized("Toggle Filter").c_str(),
                            suggestion..., "", 1, "handle_token", "s", newToken().c_str());
    };
    const std::string trigger = portalTrigger(registration_->hotKey);
    ask(Step::binding, trigger.empty() ? asking() : asking("preferred_trigger", "s", trigger.c_str()));
}

void PortalHotKeyService::onResponse(sd_bus_message* response) {
    constexpr std::uint32_t kByPerson = 1;
    if (step_ == Step::none || request_ != sd_bus_message_get_path(response)) return;
    const Step step = std::exchange(step_, Step::none);
    std::uint32_t refusal = 0;
    std::string session;
    std::string keys;
    const bool isRead = sd_bus_message_read(response, "u", &refusal) > 0 &&
                        readDictionary(response, [&](const char* key, const char* signature, sd_bus_message* value) {
                            const char* text = nullptr;
                            const std::string_view name = key;
                            const std::string_view type = signature;
                            // By its description the first is an object, as it is in all other portals.
                            if (name == "session_handle" && (type == "s" || type == "o") &&
                                sd_bus_message_read_basic(value, type[0], &text) > 0)
                                session = text;
                            if (name == "shortcuts" && type == "a(sa{sv})") keys = keysIn(value);
                        });
    if (isRead && refusal == kByPerson)
        return cannot({{}, textKey("the desktop was told to reserve no keys for it"), kAskAgain});
    if (!isRead || refusal != 0 || (step == Step::creating && session.empty()))
        return cannot({{}, kNoneForPrograms, kBindCommand, command_});
    if (step == Step::creating) {
        session_ = session;
        if (registration_) {
            bind();
        } else {
            endSession();
        }
    } else {
        take(keys);
    }
}

void PortalHotKeyService::take(const std::string& keys) {
    become({keys, version_ >= kConfigurableSince, {.adapter = kAdapter}});
}

void PortalHotKeyService::onActivated(sd_bus_message* signal) {
    const char* session = nullptr;
    const char* id = nullptr;
    if (sd_bus_message_read(signal, "os", &session, &id) < 0 || session_ != session || !registration_) return;
    const auto onPress = registration_->onPress;
    onPress();
}

void PortalHotKeyService::endSession() {
    if (session_.empty()) return;
    bus_.send(bus_.newCall(kService, session_.c_str(), kSession, "Close"));
    session_.clear();
    step_ = Step::none;
    become({.finding = {.adapter = kAdapter}});
}

void PortalHotKeyService::cannot(Finding finding) {
    step_ = Step::none;
    if (registration_)
        reportOnce("hot-key " + inEnglish(finding.problem),
                   Sentence(textKey("the shortcut does not work: %@"), {finding.problem}));
    become({.finding = std::move(finding)});
}

void PortalHotKeyService::become(DesktopKeys keys) {
    if (std::exchange(keys_, std::move(keys)) != keys_) changes_.deliver();
}

std::string PortalHotKeyService::newToken() { return "dravo" + std::to_string(++tokens_); }

}  // namespace dravo::dbus
