#include "platform/curl/curl_update_feed.h"

#include <chrono>
#include <utility>
#include <vector>

#include "app/web_address.h"
#include "base/localized.h"
#include "platform/posix/child_output.h"

namespace dravo::curl {

namespace {

// Whoever asks gives up sooner. This ends a curl that outlived us.
constexpr std::chrono::seconds kPatience{60};

// The last line that curl prints, behind the text.
constexpr const char* kReportFormat = "\n%{http_code} %{errormsg}";
constexpr std::size_t kMostReportBytes = 1024;

constexpr TextKey kNoCurl = textKey("update.no_curl", "To check for updates, the program curl has to be installed.");

struct Report {
    std::string text;
    std::string status;  ///< The server's last one, such as "200"; "000" if there was none.
    std::string reason;  ///< Why curl failed, in its own words.
};

Report reportIn(const std::string& output) {
    const auto end = output.rfind('\n');
    if (end == std::string::npos) return {};
    const auto line = output.substr(end + 1);
    const auto blank = line.find(' ');
    return {output.substr(0, end), line.substr(0, blank), blank == line.npos ? "" : line.substr(blank + 1)};
}

Error nonsense(ErrorCode code, std::string detail) { return {code, nonsensicalAnswer(std::move(detail))}; }

Error tooLong() {
    return {ErrorCode::InvalidInput, textKey("update.too_long", "The update server's answer is too long.")};
}

/// For curl's exit codes, as its manual lists them.
Error failureOf(int exitCode, const Report& report) {
    switch (exitCode) {
        case 5:   // no such proxy
        case 6:   // no such host
        case 7:   // nobody listens
        case 28:  // too slow
            return {ErrorCode::Disconnected, textKey("update.unreachable", "The update server cannot be reached.")};
        case 35:  // no handshake
        case 51:
        case 60:  // a certificate that nobody trusted has signed, or somebody else's
        case 77:
        case 83:
            return {ErrorCode::PermissionDenied,
                    textKey("update.insecure", "There is no secure connection to the update server.")};
        case 16:
        case 18:  // less than was promised
        case 52:  // nothing
        case 55:
        case 56:
        case 92:
        case -1:  // somebody killed it
            return {ErrorCode::Disconnected,
                    textKey("update.broken", "The connection to the update server broke off.")};
        case 63:
            return tooLong();
        case 1:
            // The same code is for an answer that is no HTTP.
            if (!report.status.starts_with('3')) break;
            return {ErrorCode::PermissionDenied,
                    textKey("update.leads_away", "The update server leads to an address that is not secure.")};
        case 22:
            return nonsense(ErrorCode::InvalidInput, report.status);
        default:
            break;
    }
    return nonsense(ErrorCode::Internal, report.reason.empty() ? "curl: " + std::to_string(exitCode) : report.reason);
}

Result<std::string> textOf(const Result<std::string>& output) {
    if (!output) {
        const Error& error = output.error();
        switch (error.code) {
            case ErrorCode::NotFound:
                return Error{ErrorCode::Unsupported, kNoCurl};
            case ErrorCode::Busy:
                return failureOf(28, {});
            case ErrorCode::InvalidInput:
                return tooLong();
            default:
                return failureOf(error.nativeCode, reportIn(error.message.plain));
        }
    }
    Report report = reportIn(*output);
    if (report.status != "200") return nonsense(ErrorCode::InvalidInput, report.status);
    return std::move(report.text);
}

}  // namespace

Subscription CurlUpdateFeed::fetch(const std::string& address, Answer answer) {
    const auto parsed = parseWebAddress(address);
    const bool isPlain = parsed && !parsed->isSecure;
    std::vector<std::string> words{"curl",
                                   "-q",  // first, or ~/.curlrc is read
                                   "--silent",
                                   "--fail",
                                   "--globoff",
                                   "--location",
                                   "--max-redirs",
                                   "5",
                                   "--tlsv1.2",
                                   "--proto",
                                   isPlain ? "=http,https" : "=https",
                                   "--proto-redir",
                                   "=https",
                                   "--max-filesize",
                                   std::to_string(kMaxFeedBytes),
                                   "--max-time",
                                   std::to_string(kPatience.count()),
                                   "--user-agent",
                                   userAgent_,
                                   "--write-out",
                                   kReportFormat,
                                   "--url",
                                   address};
    if (parsed && parsed->isLoopback()) words.insert(words.end(), {"--noproxy", "*"});
    return posix::readChildOutput(watch_, scheduler_, words, {kPatience, kMaxFeedBytes + kMostReportBytes},
                                  [answer = std::move(answer)](const auto& output) { answer(textOf(output)); });
}

Subscription CurlUpdateFeed::probe(Found found) {
    return posix::readChildOutput(watch_, scheduler_, {"curl", "-q", "--version"}, {kPatience},
                                  [found = std::move(found)](const auto& output) {
                                      const bool isThere = output || output.error().code != ErrorCode::NotFound;
                                      found(isThere ? Finding{"curl"} : Finding{{}, Sentence{kNoCurl}});
                                  });
}

}  // namespace dravo::curl
