#include "run/run_session.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

#include "app/interface_locale.h"
#include "base/report.h"
#include "platform/dbus/bus_control_client.h"
#include "platform/gettext/catalogue_localizer.h"
#include "platform/posix/replace_program.h"

namespace dravo {
namespace {

// Only from this very process: what a child finds in its environment is not for it.
std::optional<HandOver> inheritance() {
    const char* const text = std::getenv(kHandOverVariable);
    if (!text) return std::nullopt;
    auto handOver = decodeHandOver(text);
    ::unsetenv(kHandOverVariable);
    if (handOver && handOver->process != ::getpid()) handOver.reset();
    if (handOver) posix::letGoOfFileWatches();
    return handOver;
}

// Only a person's start asks for the panel: at login the desktop may start it twice, by an entry and by a unit.
cli::ExitCode giveWay(RunKind kind, int holder) {
    const auto shown = kind == RunKind::byPerson ? dbus::BusControlClient().ask(request::Activate{}) : ControlAnswer{};
    if (shown) {
        std::puts(localized("Dravo is running already.").c_str());
        return cli::ExitCode::Ok;
    }
    const Sentence refusal = shown.error().code == ErrorCode::Unsupported ? shown.error().message
                             : holder > 0
                                 ? Sentence(textKey("Dravo is already running (process %@)"), {std::to_string(holder)})
                                 : Sentence(textKey("Dravo is already running"));
    report(refusal);
    return cli::ExitCode::Refused;
}

}  // namespace

RunSession::RunSession() {
    session = Session::choose(Session::Guarding::byLastWord, std::getenv);  // Before there is any other thread.
    inherited = inheritance();
    defaults = std::make_unique<files::TomlUserDefaults>(files::TomlUserDefaults::pathIn(folder.settings), loop, loop);
    preferences = std::make_unique<PreferencesStore>(*defaults);
    texts = std::make_unique<gettext::CatalogueLocalizer>(
        gettext::CatalogueLocalizer::programFolder(),
        [choice = AppLanguage::current(*preferences)] { return interfaceLocaleFor(choice, std::getenv); });
    installedTexts = std::make_unique<InstalledLocalizer>(*texts);
}

std::optional<cli::ExitCode> RunSession::open(RunKind kind) {
    if (const auto end = takeLock(kind)) return end;
    using Found = posix::TerminationGuard::Found;
    guard = posix::TerminationGuard::create([this] { return session->lastWord().open().hasValue(); },
                                            [this] { session->lastWord().speak(); },
                                            inherited ? Found::ours : Found::theirOwn);
    const auto opened = session->openDisplays(originalGamma, loop);
    if (opened) return std::nullopt;
    report(opened.error().message);
    return cli::ExitCode::NoDisplayServer;
}

std::optional<cli::ExitCode> RunSession::takeLock(RunKind kind) {
    if (inherited && inherited->lock >= 0) {
        lock.emplace(posix::InstanceLock::adopt(inherited->lock));
        return std::nullopt;
    }
    auto acquired = posix::InstanceLock::acquire(folder);
    if (acquired) {
        lock.emplace(std::move(*acquired));
        return std::nullopt;
    }
    if (acquired.error().code == ErrorCode::Busy) return giveWay(kind, acquired.error().nativeCode);
    reportOnce("no-lock", Sentence(textKey("%@; a second Dravo would not be noticed"), {acquired.error().message}));
    return std::nullopt;
}

}  // namespace dravo
