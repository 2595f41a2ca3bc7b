#include "fakes/RecordingModuleHandler.h"

#include <utility>

namespace Kyr::Testing {

using namespace Kyr::Services::Commons::Wbm::Modules;

bool RecordingModuleHandler::RegisterPage(const PageInfo& page, std::shared_ptr<PageHandler> handler) {
    calls.push_back("RegisterPage:" + page.GetPageName());
    if (!refusedName.empty() && page.GetPageName() == refusedName) return false;
    pages[page.GetPageName()] = std::move(handler);
    return true;
}

void RecordingModuleHandler::UnregisterPage(const String& pageName) {
    calls.push_back("UnregisterPage:" + pageName);
    pages.erase(pageName);
}

bool RecordingModuleHandler::RegisterDataProvider(const DataProviderInfo& provider, std::shared_ptr<RequestHandler> handler) {
    calls.push_back("RegisterDataProvider:" + provider.GetDataProviderName());
    if (!refusedName.empty() && provider.GetDataProviderName() == refusedName) return false;
    dataProviders[provider.GetDataProviderName()] = std::move(handler);
    return true;
}

void RecordingModuleHandler::UnregisterDataProvider(const String& dataProviderName) {
    calls.push_back("UnregisterDataProvider:" + dataProviderName);
    dataProviders.erase(dataProviderName);
}

void RecordingModuleHandler::RegisterModuleInfoEntry(const ModuleInfoEntry& entry) {
    calls.push_back("RegisterModuleInfoEntry:" + entry.key);
}

void RecordingModuleHandler::UnregisterModuleInfoEntry(const ModuleInfoEntry& entry) {
    calls.push_back("UnregisterModuleInfoEntry:" + entry.key);
}

} // namespace Kyr::Testing
