#pragma once
#include <functional>
#include <memory>
#include <vector>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::System::Commons::Validation {

// A named check of a text. Validate appends its messages to `errors` when the value fails.
class KYR_API IValidationRule {
public:
    virtual ~IValidationRule();
    virtual bool Validate(const String& value, std::vector<String>& errors) const = 0;
};

// All rules in order; stops at the first rule that fails.
class KYR_API AndRule : public IValidationRule {
public:
    explicit AndRule(std::vector<std::shared_ptr<const IValidationRule>> rules);
    bool Validate(const String& value, std::vector<String>& errors) const override;

private:
    std::vector<std::shared_ptr<const IValidationRule>> rules;
};

// Passes when the predicate returns true; else "Input '{}' is not valid!" with the rule's name.
class KYR_API DelegateRule : public IValidationRule {
public:
    DelegateRule(String name, std::function<bool(const String&)> predicate);
    bool Validate(const String& value, std::vector<String>& errors) const override;

private:
    String name;
    std::function<bool(const String&)> predicate;
};

// Compares the whole value with each element. elementsAreLegal false: a value equal to an element
// fails with "Input '{}' has an illegal element!"; true: a value equal to no element fails with
// "Input '{}' has an undefined element!". The placeholder receives the rule's name.
class KYR_API LegalElementRule : public IValidationRule {
public:
    LegalElementRule(String name, std::vector<String> elements, bool elementsAreLegal);
    bool Validate(const String& value, std::vector<String>& errors) const override;

private:
    String name;
    std::vector<String> elements;
    bool elementsAreLegal;
};

} // namespace Kyr::System::Commons::Validation
