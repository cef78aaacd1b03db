#include "platform/x11/x11_matrix_grayscale.h"

#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace dravo::x11 {

namespace {

/// Nine numbers in rows, each in S31.32 as two words, the low word first.
using MatrixWords = std::array<std::uint32_t, 18>;

MatrixWords matrixWords(const std::array<double, 9>& matrix) {
    MatrixWords words{};
    for (std::size_t i = 0; i < matrix.size(); ++i) {
        const auto fixed = static_cast<std::uint64_t>(std::llround(matrix[i] * 4294967296.0));
        words[2 * i] = static_cast<std::uint32_t>(fixed);
        words[2 * i + 1] = static_cast<std::uint32_t>(fixed >> 32);
    }
    return words;
}

// Each output channel is the luma of the three: the weights of Rec. 709.
const MatrixWords kGray = matrixWords({0.2126, 0.7152, 0.0722, 0.2126, 0.7152, 0.0722, 0.2126, 0.7152, 0.0722});
const MatrixWords kNeutral = matrixWords({1, 0, 0, 0, 1, 0, 0, 0, 1});

void sendMatrix(xcb_connection_t* connection, xcb_randr_output_t output, xcb_atom_t matrix, const MatrixWords& words) {
    xcb_randr_change_output_property(connection, output, matrix, XCB_ATOM_INTEGER, 32, XCB_PROP_MODE_REPLACE,
                                     static_cast<std::uint32_t>(words.size()), words.data());
}

Error noMatrix() { return Error{ErrorCode::Unsupported, "no display's driver can show gray"}; }

}  // namespace

MatrixGrayscale::MatrixGrayscale(const Connection& connection, const ServerFacts& facts,
                                 std::function<bool()> isGuarded, std::function<void()> onOutputsChange)
    : connection_(connection),
      facts_(facts),
      isGuarded_(std::move(isGuarded)),
      onOutputsChange_(std::move(onOutputsChange)) {}

void MatrixGrayscale::outputsAre(std::vector<xcb_randr_output_t> outputs) {
    outputs_ = std::move(outputs);
    if (!grayOutputs_.empty() && grayOutputs_ != outputs_) static_cast<void>(setEnabled(true));
}

Result<bool> MatrixGrayscale::isEnabled() {
    if (outputs_.empty()) return noMatrix();
    for (const auto output : outputs_)
        if (!holdsGray(output)) return false;
    return true;
}

Result<void> MatrixGrayscale::setEnabled(bool enabled) {
    if (outputs_.empty()) return noMatrix();
    if (enabled && !isGuarded_()) return Error{ErrorCode::Busy, "nobody could take gray back"};
    if (enabled) {
        grayOutputs_ = outputs_;
        onOutputsChange_();
    }
    for (const auto output : outputs_) sendMatrix(connection_.get(), output, facts_.matrix, enabled ? kGray : kNeutral);
    xcb_flush(connection_.get());
    if (!enabled) {
        grayOutputs_.clear();
        onOutputsChange_();
    }
    if (connection_.isBroken()) return disconnected();
    return {};
}

void MatrixGrayscale::undoUncleanRun() {
    for (const auto output : outputs_)
        if (holdsGray(output)) sendNeutralMatrix(connection_.get(), output, facts_.matrix);
}

bool MatrixGrayscale::holdsGray(xcb_randr_output_t output) const {
    const auto reply = fetchReply(connection_.get(), xcb_randr_get_output_property_reply,
                                  xcb_randr_get_output_property(connection_.get(), output, facts_.matrix,
                                                                XCB_GET_PROPERTY_TYPE_ANY, 0, kGray.size(), 0, 0));
    return reply && reply->format == 32 && reply->num_items == kGray.size() &&
           std::memcmp(xcb_randr_get_output_property_data(reply.get()), kGray.data(), sizeof(kGray)) == 0;
}

void sendNeutralMatrix(xcb_connection_t* connection, xcb_randr_output_t output, xcb_atom_t matrix) {
    sendMatrix(connection, output, matrix, kNeutral);
}

}  // namespace dravo::x11
