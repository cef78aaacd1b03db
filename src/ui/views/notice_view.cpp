#include "ui/views/notice_view.h"

#include <variant>

#include "ui/controls/layout.h"
#include "ui/texts.h"

namespace dravo::ui {

namespace {

using Kind = PushButton::Kind;

/// What a card says about an outcome, besides the answer that takes it away.
struct Words {
    QString title;
    QString message;
    std::string link = {};
};

Words wordsOf(const Updater::Outcome& outcome) {
    struct Visitor {
        Words operator()(const Updater::UpToDate& found) const {
            return {text("update.none", "Dravo is up to date"),
                    filled(text("update.version", "Version %@ is the newest."), toQt(found.version))};
        }
        Words operator()(const Updater::NewerVersion& found) const {
            return {filled(text("update.newer", "Version %@ is available"), toQt(found.release.version)),
                    toQt(found.release.notes), found.release.link};
        }
        Words operator()(const Updater::CouldNotCheck& failed) const {
            return {text("update.failed", "Could not check for updates"), toQt(localized(failed.reason))};
        }
        Words operator()(const Updater::ComesWithPackages&) const {
            return {text("update.packages", "Updates come with the system's packages"), {}};
        }
    };
    return std::visit(Visitor{}, outcome);
}

}  // namespace

NoticeView::NoticeView(const PanelParts& parts) : View(parts) {
    auto* const column = layOut<QVBoxLayout>(this, Theme::kGap);
    relaunch_ = new Card;
    update_ = new Card;
    column->addWidget(relaunch_);
    column->addWidget(update_);
}

void NoticeView::askForRelaunch(AppLanguage language) {
    newLanguage_ = language;
    refresh();
}

bool NoticeView::closeInnermost() {
    if (newLanguage_) {
        newLanguage_.reset();
    } else if (!std::holds_alternative<Updater::Idle>(parts_.updater.state().get())) {
        parts_.updater.dismiss();
    } else {
        return false;
    }
    refresh();
    return true;
}

void NoticeView::refresh() {
    if (newLanguage_) showRelaunch();
    const bool hasUpdate = showUpdate();
    relaunch_->setVisible(newLanguage_.has_value());
    update_->setVisible(hasUpdate);
    setVisible(newLanguage_ || hasUpdate);
}

void NoticeView::showRelaunch() {
    const QString name = toQt(newLanguage_->displayName());
    relaunch_->setContent(text("Language Updated"), filled(text("Relaunch Dravo to use %@."), name),
                          {{text("Later"), Kind::plain,
                            [this] {
                                newLanguage_.reset();
                                refresh();
                            }},
                           {text("Relaunch Now"), Kind::primary, [this] { parts_.scheduler.post(parts_.relaunch); }}});
}

bool NoticeView::showUpdate() {
    const auto& state = parts_.updater.state().get();
    const auto dismiss = [this] {
        parts_.updater.dismiss();
        refresh();
    };
    if (std::holds_alternative<Updater::Checking>(state)) {
        update_->setContent(text("update.checking", "Checking for updates…"), {},
                            {{text("Cancel"), Kind::plain, dismiss}});
        return true;
    }
    const auto* const outcome = std::get_if<Updater::Outcome>(&state);
    if (!outcome) return false;
    const Words words = wordsOf(*outcome);
    std::vector<Card::Answer> answers{{text("Close"), Kind::plain, dismiss}};
    if (!words.link.empty()) {
        answers.push_back({text("update.open", "Open Web Page"), Kind::primary,
                           [this, link = words.link] { parts_.systemSettings.openLink(link); }});
    }
    update_->setContent(words.title, words.message, answers);
    return true;
}

}  // namespace dravo::ui
