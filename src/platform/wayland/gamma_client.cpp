#include "platform/wayland/gamma_client.h"

#include <wayland-client-protocol.h>
#include <wlr-gamma-control-client.h>

#include <algorithm>
#include <utility>

namespace dravo::wayland {

bool GammaClient::isManager(const Connection::Global& global) {
    return global.interface == zwlr_gamma_control_manager_v1_interface.name;
}

GammaClient::GammaClient(std::unique_ptr<Connection> connection, const std::vector<Connection::Global>& globals,
                         std::uint64_t greeting)
    : connection_(std::move(connection)), greeting_(greeting) {
    connection_->onGlobal = [this](const Connection::Global& global) { noteGlobal(global); };
    connection_->onGlobalRemoved = [this](std::uint32_t name) { noteRemoval(name); };
    for (const auto& global : globals) noteGlobal(global);
    notice();
}

GammaClient::~GammaClient() {
    outputs_.clear();
    if (manager_) zwlr_gamma_control_manager_v1_destroy(manager_);
}

void GammaClient::noteGlobal(const Connection::Global& global) {
    if (isManager(global) && !manager_) {
        managerName_ = global.name;
        manager_ = static_cast<zwlr_gamma_control_manager_v1*>(
            wl_registry_bind(connection_->registry(), global.name, &zwlr_gamma_control_manager_v1_interface, 1));
    } else if (global.interface == wl_output_interface.name) {
        outputs_.push_back(std::make_unique<GammaOutput>(*connection_, global));
        hasNewOutput_ = true;
    }
}

void GammaClient::noteRemoval(std::uint32_t name) {
    const auto gone = std::ranges::find(outputs_, name, [](const auto& output) { return output->name(); });
    if (gone != outputs_.end()) {
        outputs_.erase(gone);
    } else if (manager_ && name == managerName_) {
        releaseAll();
        zwlr_gamma_control_manager_v1_destroy(manager_);
        manager_ = nullptr;
    }
}

void GammaClient::notice() {
    if (hasNewOutput_) descriptionQuestion_ = connection_->ask();
    hasNewOutput_ = false;
    bool isAskedAgain = false;
    for (const auto& output : outputs_) {
        if (connection_->hasAnswered(descriptionQuestion_)) output->markDescribed();
        if (output->isAwaited() && connection_->hasAnswered(tableQuestion_))
            isAskedAgain = output->noticeSilence(manager_) || isAskedAgain;
    }
    if (isAskedAgain) tableQuestion_ = connection_->ask();
}

bool GammaClient::takeOutputChange() {
    std::vector<std::uint32_t> described;
    for (const auto& output : outputs_)
        if (output->isDescribed()) described.push_back(output->name());
    return std::exchange(describedBefore_, described) != described;
}

bool GammaClient::isWaiting() const {
    return std::ranges::any_of(outputs_,
                               [](const auto& output) { return !output->isDescribed() || output->isAwaited(); });
}

void GammaClient::take() { ask(false); }

void GammaClient::takeRefused() {
    shunned.clear();
    ask(true);
}

void GammaClient::ask(bool refusedToo) {
    if (!manager_) return;
    bool isAsked = false;
    for (std::size_t i = 0; i < std::min(outputs_.size(), kMaxDisplays); ++i) {
        GammaOutput& output = *outputs_[i];
        if (output.isTaken() || (output.isRefused() && !refusedToo) || output.state() == DisplayState::noTable)
            continue;
        if (!shunned.empty() && !output.isDescribed()) continue;
        if (shunned.contains(output.connector())) {
            output.refuseLoad();
            continue;
        }
        output.take(manager_);
        isAsked = true;
    }
    if (isAsked) tableQuestion_ = connection_->ask();
}

void GammaClient::releaseAll() {
    for (const auto& output : outputs_) output->release();
}

}  // namespace dravo::wayland
