// libFuzzer target for the export reader: any bytes must give a tree or an error inside the
// input, never a crash, a hang or a leak. scripts/test.sh runs it for a bounded time under
// AddressSanitizer and UndefinedBehaviorSanitizer, starting from the exports in corpus/.
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <variant>

#include "scan/exported_tree.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const auto loaded = kelvane::ExportedTree::parse(text);
    if (const auto* error = std::get_if<kelvane::ExportError>(&loaded)) {
        if (error->offset > size) __builtin_trap();
        return 0;
    }
    const auto& tree = std::get<kelvane::ExportedTree>(loaded);
    for (kelvane::ExportedTree::Id id = 0; id < tree.size(); ++id) {
        for (const kelvane::ExportedTree::Id child : tree.children(id)) {
            if (tree.parent(child) != id) __builtin_trap();
        }
    }
    return 0;
}
