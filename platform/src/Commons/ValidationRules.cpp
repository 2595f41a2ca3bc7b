#include <utility>

#include "Kyr/System/Commons/Format.h"
#include "Kyr/System/Commons/Validation/Rules.h"

namespace Kyr::System::Commons::Validation {

IValidationRule::~IValidationRule() = default;

AndRule::AndRule(std::vector<std::shared_ptr<const IValidationRule>> rules) : rules(std::move(rules)) {}

bool AndRule::Validate(const String& value, std::vector<String>& errors) const {
    for (const auto& rule : rules)
        if (rule && !rule->Validate(value, errors)) return false;
    return true;
}

DelegateRule::DelegateRule(String name, std::function<bool(const String&)> predicate)
    : name(std::move(name)), predicate(std::move(predicate)) {}

bool DelegateRule::Validate(const String& value, std::vector<String>& errors) const {
    if (predicate && predicate(value)) return true;
    errors.push_back(SafeFormat("Input '{}' is not valid!", name));
    return false;
}

LegalElementRule::LegalElementRule(String name, std::vector<String> elements, bool elementsAreLegal)
    : name(std::move(name)), elements(std::move(elements)), elementsAreLegal(elementsAreLegal) {}

bool LegalElementRule::Validate(const String& value, std::vector<String>& errors) const {
    bool isElement = false;
    for (const auto& element : elements) {
        if (element == value) {
            isElement = true;
            break;
        }
    }
    if (elementsAreLegal && !isElement) {
        errors.push_back(SafeFormat("Input '{}' has an undefined element!", name));
        return false;
    }
    if (!elementsAreLegal && isElement) {
        errors.push_back(SafeFormat("Input '{}' has an illegal element!", name));
        return false;
    }
    return true;
}

} // namespace Kyr::System::Commons::Validation
