#pragma once
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/Exceptions.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Extensibility {

// Named factory functions of a module library, in the order they were added.
template <class TModule>
class KYR_API ModuleFactory {
public:
    using FactoryFunction = std::function<std::unique_ptr<TModule>()>;

    virtual ~ModuleFactory() = default;

    // Checks, in order: empty name ("moduleName", "Invalid module name"); empty function
    // ("function", "Invalid factory function."); a name already present ("moduleName",
    // "Duplicate module name"). Names compare byte for byte.
    void AddFactoryFunction(const String& moduleName, FactoryFunction function) {
        if (moduleName.empty()) throw ArgumentException::Create("moduleName", moduleName, "Invalid module name");
        if (!function) throw ArgumentException::Create("function", moduleName, "Invalid factory function.");
        for (const auto& entry : entries)
            if (entry.first == moduleName) throw ArgumentException::Create("moduleName", moduleName, "Duplicate module name");
        entries.emplace_back(moduleName, std::move(function));
    }

    // A new module made by the function registered under `moduleName`, or nullptr when none is.
    std::unique_ptr<TModule> CreateModule(const String& moduleName) const {
        for (const auto& entry : entries)
            if (entry.first == moduleName) return entry.second();
        return nullptr;
    }

    std::vector<String> GetModuleNames() const {
        std::vector<String> names;
        for (const auto& entry : entries) names.push_back(entry.first);
        return names;
    }

private:
    std::vector<std::pair<String, FactoryFunction>> entries;
};

} // namespace Kyr::System::Commons::Extensibility
