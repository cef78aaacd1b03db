#include "support/private_x_server.h"

#include <filesystem>
#include <stdexcept>

namespace dravo::testing {

namespace fs = std::filesystem;

namespace {

// The server itself: the Xorg in the path is often a wrapper that refuses ordinary users.
fs::path serverProgram() {
    for (const char* program : {"/usr/lib/xorg/Xorg", "/usr/libexec/Xorg", "/usr/lib/Xorg", "/usr/bin/Xorg"}) {
        if (fs::exists(program)) return program;
    }
    return {};
}

bool hasDummyDriver() {
    for (const char* folder : {"/usr/lib/xorg/modules", "/usr/lib64/xorg/modules"}) {
        if (fs::exists(fs::path(folder) / "drivers/dummy_drv.so")) return true;
    }
    return false;
}

}  // namespace

bool PrivateXServer::isInstalled() { return !serverProgram().empty() && hasDummyDriver(); }

PrivateXServer::PrivateXServer(std::size_t displays) {
    const fs::path log = folder_ / "log";
    process_.emplace(serverProgram(),
                     ChildProcess::Options{.arguments = {"-displayfd", "3", "-config", DRAVO_X_SERVER_CONFIG,
                                                         "-noreset", "-nolisten", "tcp", "-logfile", log},
                                           .environment = {{"HOME", folder_.path()}},
                                           .descriptorThree = number_.writeEnd(),
                                           .signalAtOurDeath = SIGTERM});
    const std::string number = number_.read();
    if (number.empty()) throw std::runtime_error("the private X server did not start:\n" + process_->standardError());
    address_ = ":" + number;
    displays_ = std::make_unique<XGamma>(address_);
    displays_->arrange(displays);
}

PrivateXServer::~PrivateXServer() {
    displays_.reset();
    thaw();
    // Asked to end, it takes its socket and lock file along.
    process_->signal(SIGTERM);
    process_->waitForExit();
}

void PrivateXServer::kill() {
    process_->signal(SIGKILL);
    process_->waitForExit();
    // A killed server cannot remove these, and the next one would wait for their owner.
    fs::remove("/tmp/.X11-unix/X" + address_.substr(1));
    fs::remove("/tmp/.X" + address_.substr(1) + "-lock");
}

void PrivateXServer::freeze() { process_->signal(SIGSTOP); }
void PrivateXServer::thaw() { process_->signal(SIGCONT); }

}  // namespace dravo::testing
