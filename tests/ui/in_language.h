#pragma once

#include "app/interface_locale.h"
#include "platform/gettext/catalogue_localizer.h"
#include "ui/texts.h"

namespace dravo::testing {

/// The interface in another language, for as long as it lives.
class InLanguage {
public:
    explicit InLanguage(AppLanguage language)
        : texts_(DRAVO_TRANSLATIONS, [language] {
              return interfaceLocaleFor(language, [](const char*) { return static_cast<char*>(nullptr); });
          }) {
        installLocalizer(&texts_);
        ui::adoptInterfaceLocale();
    }
    ~InLanguage() {
        installLocalizer(nullptr);
        ui::adoptInterfaceLocale();
    }
    InLanguage(const InLanguage&) = delete;
    InLanguage& operator=(const InLanguage&) = delete;

private:
    gettext::CatalogueLocalizer texts_;
};

}  // namespace dravo::testing
