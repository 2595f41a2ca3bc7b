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

std::shared_ptr<RecordingModuleHandler::RequestHandler> RecordingModuleHandler::GetDataProvider(const String& name) const {
    auto found = dataProviders.find(name);
    return found == dataProviders.end() ? nullptr : found->second;
}

std::shared_ptr<RecordingModuleHandler::PageHandler> RecordingModuleHandler::GetPage(const String& name) const {
    auto found = pages.find(name);
    return found == pages.end() ? nullptr : found->second;
}

} // namespace Kyr::Testing
