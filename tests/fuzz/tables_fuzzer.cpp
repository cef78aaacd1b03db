// Any text as the file of saved tables: whatever is accepted could be loaded into a display.
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "display/table_json.h"
#include "fuzz/require.h"

using namespace dravo;
using testing::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto tables = decodeTables({reinterpret_cast<const char*>(data), size});
    if (!tables) {
        require(!tables.error().message.empty(), "a refusal has a reason");
        return 0;
    }
    for (const auto& [display, table] : tables->own) {
        require(table.red.size() >= 2, "two entries at least");
        require(table.red.size() == table.green.size() && table.red.size() == table.blue.size(), "equal channels");
        for (const auto* channel : {&table.red, &table.green, &table.blue})
            for (const float level : *channel) require(level >= 0 && level <= 1, "levels from 0 to 1");
    }
    const auto back = decodeTables(encodeTables(*tables));
    require(back && *back == *tables, "tables read back the same");
    return 0;
}
