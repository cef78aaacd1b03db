#pragma once

#include <cstdint>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/wayland/gamma_output.h"
#include "platform/wayland/wayland_connection.h"

namespace dravo::wayland {

/// The outputs of a compositor, and who hands their tables out, on one connection.
///
/// Thread: one. Its end gives every table back.
class GammaClient {
public:
    /// `globals` have been told already; more of them come until `greeting` is answered.
    GammaClient(std::unique_ptr<Connection> connection, const std::vector<Connection::Global>& globals,
                std::uint64_t greeting);
    ~GammaClient();
    GammaClient(const GammaClient&) = delete;
    GammaClient& operator=(const GammaClient&) = delete;

    [[nodiscard]] static bool isManager(const Connection::Global& global);

    [[nodiscard]] Connection& connection() { return *connection_; }
    /// Whether every global that was there at first is told.
    [[nodiscard]] bool isGreeted() const { return connection_->hasAnswered(greeting_); }
    [[nodiscard]] bool handsOutTables() const { return manager_ != nullptr; }

    /// In the compositor's order, also those that have not said yet who they are.
    [[nodiscard]] const std::vector<std::unique_ptr<GammaOutput>>& outputs() const { return outputs_; }

    /// To be called once the connection has been served.
    void notice();
    /// Whether the outputs that have said who they are have changed since the last call.
    bool takeOutputChange();
    /// Whether an output still has to say who it is, or whether its table is ours.
    [[nodiscard]] bool isWaiting() const;

    /// Asks for the tables of all outputs up to the sixteenth, as far as they are not ours nor refused.
    void take();
    /// Asks for those that were refused, too.
    void takeRefused();
    /// The answer behind every question for a table; 0: none was asked.
    [[nodiscard]] std::uint64_t question() const { return tableQuestion_; }
    void releaseAll();

    /// Connectors whose tables are refused unasked: the compositor has thrown us out for them.
    std::set<std::string> shunned;

private:
    void noteGlobal(const Connection::Global& global);
    void noteRemoval(std::uint32_t name);
    void ask(bool refusedToo);

    std::unique_ptr<Connection> connection_;
    std::uint64_t greeting_;
    zwlr_gamma_control_manager_v1* manager_ = nullptr;
    std::uint32_t managerName_ = 0;
    std::vector<std::unique_ptr<GammaOutput>> outputs_;
    bool hasNewOutput_ = false;
    std::vector<std::uint32_t> describedBefore_;
    std::uint64_t descriptionQuestion_ = 0;
    std::uint64_t tableQuestion_ = 0;
};

}  // namespace dravo::wayland
