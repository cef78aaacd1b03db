#pragma once

#include <functional>
#include <vector>

#include "display/grayscale_service.h"
#include "platform/x11/x11_topology.h"

namespace dravo::x11 {

/// Everything gray by the colour matrix ("CTM") that some drivers give their outputs. A transfer table cannot do it: it
/// never mixes channels.
///
/// The server keeps a matrix when its writer goes, so whoever sets one answers for taking it back.
/// Thread: main thread. Lifetime: `connection` and `facts` outlive it.
class MatrixGrayscale : public GrayscaleService {
public:
    /// `onOutputsChange` runs before a matrix is set on an output not in `grayOutputs()` so far, and after it was
    /// taken back. None is set, `Busy`, unless `isGuarded`.
    MatrixGrayscale(const Connection& connection, const ServerFacts& facts, std::function<bool()> isGuarded,
                    std::function<void()> onOutputsChange);

    /// Tells which outputs have a matrix; one that came while everything is gray becomes gray too.
    void outputsAre(std::vector<xcb_randr_output_t> outputs);

    /// Where our matrix is set.
    [[nodiscard]] const std::vector<xcb_randr_output_t>& grayOutputs() const { return grayOutputs_; }

    Result<bool> isEnabled() override;
    Result<void> setEnabled(bool enabled) override;
    void undoUncleanRun() override;

private:
    [[nodiscard]] bool holdsGray(xcb_randr_output_t output) const;

    const Connection& connection_;
    const ServerFacts& facts_;
    std::function<bool()> isGuarded_;
    std::function<void()> onOutputsChange_;
    std::vector<xcb_randr_output_t> outputs_;  ///< Those with a matrix, on or off.
    std::vector<xcb_randr_output_t> grayOutputs_;
};

/// Asks for the neutral matrix on `output`. The request is only queued.
void sendNeutralMatrix(xcb_connection_t* connection, xcb_randr_output_t output, xcb_atom_t matrix);

}  // namespace dravo::x11
