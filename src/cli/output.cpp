#include "cli/output.h"

#include <cerrno>

#include "base/localized.h"
#include "base/system_reason.h"

namespace dravo::cli {

void Output::write(std::string_view text) {
    if (std::fwrite(text.data(), 1, text.size(), stream_) != text.size() && firstError_ == 0) firstError_ = errno;
}

Result<void> Output::flush() {
    if (std::fflush(stream_) != 0 && firstError_ == 0) firstError_ = errno;
    if (firstError_ == 0) return {};
    return Error{ErrorCode::Internal, Sentence(textKey("cannot write the output: %@"), {systemReason(firstError_)}),
                 firstError_};
}

}  // namespace dravo::cli
