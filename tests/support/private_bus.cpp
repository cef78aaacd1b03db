#include "support/private_bus.h"

#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace dravo::testing {

namespace {

constexpr const char* kProgram = "/usr/bin/dbus-daemon";

std::string configuration(const std::filesystem::path& folder) {
    return "<busconfig><type>session</type><listen>unix:dir=" + folder.string() +
           "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
           "<allow send_destination=\"*\"/><allow receive_sender=\"*\"/><allow own=\"*\"/><allow user=\"*\"/>"
           "</policy></busconfig>\n";
}

}  // namespace

bool PrivateBus::isInstalled() { return std::filesystem::exists(kProgram); }

PrivateBus::PrivateBus() {
    const auto file = folder_ / "bus.conf";
    std::ofstream(file) << configuration(folder_.path());
    process_.emplace(kProgram, ChildProcess::Options{.arguments = {"--nofork", "--nosyslog", "--print-address=3",
                                                                   "--config-file=" + file.string()},
                                                     .descriptorThree = announced_.writeEnd()});
    address_ = announced_.read();
    if (address_.empty()) throw std::runtime_error("the private bus did not start:\n" + process_->standardError());
}

void PrivateBus::kill() {
    process_->signal(SIGKILL);
    process_->waitForExit();
}

}  // namespace dravo::testing
