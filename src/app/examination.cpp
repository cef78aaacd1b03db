#include "app/examination.h"

#include <memory>
#include <optional>
#include <utility>

namespace dravo {

struct Examination::Run {
    Told onDone;
    std::vector<std::optional<Reports>> answers;
    std::size_t open = 0;
    Timer end;
    std::vector<Subscription> asked;
};

Subscription Examination::run(Told onDone) const {
    auto run = std::make_shared<Run>();
    run->onDone = std::move(onDone);
    run->answers.resize(questions_.size());
    run->open = questions_.size();
    const auto finish = [this, weak = std::weak_ptr(run)] {
        const auto ending = weak.lock();
        if (!ending) return;
        ending->asked.clear();
        Reports all;
        for (std::size_t i = 0; i < questions_.size(); ++i) {
            static constexpr TextKey kNoAnswer = textKey("it does not answer");
            const auto& answer = ending->answers[i];
            if (!answer) all.push_back({questions_[i].port, {}, {{}, Sentence{kNoAnswer}}});
            if (answer) all.insert(all.end(), answer->begin(), answer->end());
        }
        ending->onDone(all);
    };
    run->end = scheduler_.after(questions_.empty() ? Duration::zero() : Duration(kPatience), finish);
    for (std::size_t i = 0; i < questions_.size(); ++i) {
        run->asked.push_back(questions_[i].ask([this, weak = std::weak_ptr(run), finish, i](const Reports& reports) {
            const auto asking = weak.lock();
            if (!asking || asking->answers[i]) return;
            asking->answers[i] = reports;
            if (--asking->open == 0) asking->end = scheduler_.after(Duration::zero(), finish);
        }));
    }
    return Subscription([run] { run->asked.clear(); });
}

Examination::Question askWhether(const TextKey& port, Probed& works) {
    return {
        port, [port, &works](Examination::Told told) {
            return works.probe([port, told = std::move(told)](const Finding& finding) { told({{port, {}, finding}}); });
        }};
}

}  // namespace dravo
