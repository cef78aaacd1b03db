#include "support/small_compositor.h"

#include <fcntl.h>
#include <unistd.h>
#include <wayland-server.h>
#include <wlr-gamma-control-server.h>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace dravo::testing {
namespace {

template <typename T>
T* of(wl_resource* resource) {
    return static_cast<T*>(wl_resource_get_user_data(resource));
}

void destroy(wl_client*, wl_resource* resource) { wl_resource_destroy(resource); }

}  // namespace

/// What belongs to the thread.
struct SmallCompositor::Inside {
    struct Control;

    struct Output {
        std::string name;
        std::size_t size = 0;
        std::string model;
        wl_global* global = nullptr;
        std::vector<wl_resource*> bound = {};
        Control* holder = nullptr;
        std::vector<std::optional<RampLevels>> shown{std::nullopt};

        void show(std::optional<RampLevels> table) {
            if (shown.back() != table) shown.push_back(std::move(table));
        }
    };

    /// A client's hold on a table; without an output it does nothing any more.
    struct Control {
        Inside& inside;
        wl_resource* resource;
        Output* output;

        void letGo() {
            if (output && output->holder == this) {
                output->holder = nullptr;
                output->show(std::nullopt);
            }
            output = nullptr;
        }
        void fail() {
            letGo();
            zwlr_gamma_control_v1_send_failed(resource);
        }
    };

    explicit Inside(Kind itsKind) : kind(itsKind) {}

    Output& find(const std::string& name) {
        for (const auto& output : outputs)
            if (output->name == name) return *output;
        throw std::runtime_error("no output " + name);
    }

    static void bindOutput(wl_client* client, void* data, std::uint32_t version, std::uint32_t id) {
        static constexpr struct wl_output_interface kRequests = {.release = destroy};
        wl_resource* const resource = wl_resource_create(client, &wl_output_interface, static_cast<int>(version), id);
        auto* const output = static_cast<Output*>(data);
        wl_resource_set_implementation(resource, &kRequests, output, [](wl_resource* gone) {
            if (auto* const bound = of<Output>(gone)) std::erase(bound->bound, gone);
        });
        if (!output) return;
        output->bound.push_back(resource);
        wl_output_send_geometry(resource, 0, 0, 600, 340, WL_OUTPUT_SUBPIXEL_UNKNOWN, "Maker", output->model.c_str(),
                                WL_OUTPUT_TRANSFORM_NORMAL);
        wl_output_send_mode(resource, WL_OUTPUT_MODE_CURRENT, 1920, 1080, 60000);
        if (version >= WL_OUTPUT_NAME_SINCE_VERSION) {
            wl_output_send_name(resource, output->name.c_str());
            wl_output_send_description(resource, ("Maker " + output->model + " (" + output->name + ")").c_str());
        }
        if (version >= WL_OUTPUT_DONE_SINCE_VERSION) wl_output_send_done(resource);
    }

    static void bindManager(wl_client* client, void* data, std::uint32_t, std::uint32_t id) {
        static constexpr struct zwlr_gamma_control_manager_v1_interface kRequests = {
            .get_gamma_control =
                [](wl_client* asking, wl_resource* manager, std::uint32_t newId, wl_resource* output) {
                    of<Inside>(manager)->handOut(asking, newId, of<Output>(output));
                },
            .destroy = destroy};
        wl_resource* const resource = wl_resource_create(client, &zwlr_gamma_control_manager_v1_interface, 1, id);
        wl_resource_set_implementation(resource, &kRequests, data, nullptr);
    }

    void handOut(wl_client* client, std::uint32_t id, Output* output) {
        static constexpr struct zwlr_gamma_control_v1_interface kRequests = {
            .set_gamma =
                [](wl_client*, wl_resource* resource, int file) {
                    of<Control>(resource)->inside.load(*of<Control>(resource), file);
                    ::close(file);
                },
            .destroy = destroy};
        ++books.requests;
        wl_resource* const resource = wl_resource_create(client, &zwlr_gamma_control_v1_interface, 1, id);
        auto* const control = new Control{*this, resource, output};
        wl_resource_set_implementation(resource, &kRequests, control, [](wl_resource* gone) {
            const std::unique_ptr<Control> own(of<Control>(gone));
            own->letGo();
        });
        if (passedOver > 0) {
            --passedOver;
            control->output = nullptr;
        } else if (output && output->holder && kind.duplicateTakesOver) {
            control->output = nullptr;
            output->holder->fail();
        } else if (!output || output->size == 0 || output->holder) {
            control->fail();
        } else {
            output->holder = control;
            zwlr_gamma_control_v1_send_gamma_size(resource, static_cast<std::uint32_t>(output->size));
        }
    }

    void load(Control& control, int file) {
        if (!control.output) return;
        ++books.loads;
        books.lastLoad = std::chrono::steady_clock::now();
        constexpr int kEvery = F_SEAL_SEAL | F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE;
        books.wereFilesSealed = books.wereFilesSealed && ::fcntl(file, F_GET_SEALS) == kEvery;
        const std::size_t size = control.output->size;
        std::vector<std::uint16_t> levels(3 * size + 1);
        const std::size_t room = levels.size() * 2;
        const ssize_t got =
            kind.readsFromOffset ? ::read(file, levels.data(), room) : ::pread(file, levels.data(), room, 0);
        const bool isShort = got < static_cast<ssize_t>(6 * size);
        const bool isWrong =
            isShort || (got > static_cast<ssize_t>(6 * size) && kind.wrongLength != Kind::WrongLength::shortIsFatal);
        const bool isFatal = isWrong && kind.wrongLength != Kind::WrongLength::fails;
        if (isFatal || answer == Loads::fatal)
            return wl_resource_post_error(control.resource, ZWLR_GAMMA_CONTROL_V1_ERROR_INVALID_GAMMA, "a bad table");
        if (isWrong || answer == Loads::refused) return control.fail();
        const auto at = levels.begin();
        const auto step = static_cast<std::ptrdiff_t>(size);
        control.output->show(RampLevels{{at, at + step}, {at + step, at + 2 * step}, {at + 2 * step, at + 3 * step}});
    }

    const Kind kind;
    wl_display* display = nullptr;
    std::vector<std::unique_ptr<Output>> outputs;
    Books books;
    int passedOver = 0;
    Loads answer = Loads::taken;
};

SmallCompositor::SmallCompositor(Kind kind) : inside_(std::make_unique<Inside>(kind)) { start(); }
SmallCompositor::~SmallCompositor() { end(); }

void SmallCompositor::open(wl_display* display) {
    inside_->display = display;
    if (inside_->kind.handsOutTables)
        wl_global_create(display, &zwlr_gamma_control_manager_v1_interface, 1, inside_.get(), Inside::bindManager);
}

void SmallCompositor::closed() { inside_->outputs.clear(); }

template <typename Action>
auto SmallCompositor::inside(Action action) {
    return run([this, &action] { return action(*inside_); });
}

void SmallCompositor::plug(const std::string& name, std::size_t size, const std::string& model) {
    inside([&](Inside& self) {
        auto output = std::make_unique<Inside::Output>(Inside::Output{name, size, model});
        output->global = wl_global_create(self.display, &wl_output_interface, 4, output.get(), Inside::bindOutput);
        self.outputs.push_back(std::move(output));
    });
}

void SmallCompositor::unplug(const std::string& name) {
    inside([&](Inside& self) {
        Inside::Output& output = self.find(name);
        for (wl_resource* const resource : output.bound) wl_resource_set_user_data(resource, nullptr);
        if (Inside::Control* const holder = output.holder)
            self.kind.tellsHolderOfEnd ? holder->fail() : holder->letGo();
        wl_global_set_user_data(output.global, nullptr);
        self.kind.forgetsAtOnce ? wl_global_destroy(output.global) : wl_global_remove(output.global);
        std::erase_if(self.outputs, [&](const auto& each) { return each.get() == &output; });
    });
}

std::optional<RampLevels> SmallCompositor::table(const std::string& name) { return shown(name).back(); }

std::vector<std::optional<RampLevels>> SmallCompositor::shown(const std::string& name) {
    return inside([&](Inside& self) { return self.find(name).shown; });
}

pid_t SmallCompositor::holder(const std::string& name) {
    return inside([&](Inside& self) {
        pid_t process = 0;
        if (const Inside::Control* const control = self.find(name).holder)
            wl_client_get_credentials(wl_resource_get_client(control->resource), &process, nullptr, nullptr);
        return process;
    });
}

SmallCompositor::Books SmallCompositor::books() {
    return inside([](Inside& self) { return self.books; });
}

void SmallCompositor::answerLoads(Loads how) {
    inside([how](Inside& self) { self.answer = how; });
}
void SmallCompositor::passOver(int requests) {
    inside([requests](Inside& self) { self.passedOver = requests; });
}

}  // namespace dravo::testing
