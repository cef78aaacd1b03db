#include "platform/wayland/gamma_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/uio.h>

#include <array>

namespace dravo::wayland {

UniqueFd makeGammaFile(const RampLevels& levels) {
    std::array<iovec, 3> channels{};
    std::size_t bytes = 0;
    std::size_t next = 0;
    for (const auto* channel : {&levels.red, &levels.green, &levels.blue}) {
        iovec& part = channels.at(next++);
        part = {const_cast<std::uint16_t*>(channel->data()), channel->size() * sizeof(std::uint16_t)};
        bytes += part.iov_len;
    }
    UniqueFd file(::memfd_create("dravo-table", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    constexpr int kEverySeal = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_WRITE | F_SEAL_SEAL;
    const bool isWhole = file &&
                         ::pwritev(file.get(), channels.data(), channels.size(), 0) == static_cast<ssize_t>(bytes) &&
                         ::fcntl(file.get(), F_ADD_SEALS, kEverySeal) == 0;
    return isWhole ? std::move(file) : UniqueFd();
}

}  // namespace dravo::wayland
