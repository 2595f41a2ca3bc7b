#pragma once
#include <memory>

#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Commons::Wbm::Messages {

// Kind of the result a JsonResponse carries.
enum class JsonResponseKind : int { None = 0, String = 1, Number = 2, Object = 3, Boolean = 4 };

class KYR_API IJsonResult {
public:
    virtual ~IJsonResult();
    virtual String ToJsonValue() const = 0; // the result as a JSON value text
};

class KYR_API BooleanResult : public IJsonResult {
public:
    explicit BooleanResult(bool value) : value(value) {}
    bool GetValue() const noexcept { return value; }
    String ToJsonValue() const override;

private:
    bool value;
};

// The platform's JSON answer: {"error":<errorText not empty>,"errorText":"...","result":<result>}
// in compact form; a missing result is written as null.
class KYR_API JsonResponse {
public:
    JsonResponse(String errorText, std::shared_ptr<const IJsonResult> result, JsonResponseKind kind);
    // Same as above with the kind given as its number (4: Boolean).
    JsonResponse(String errorText, std::shared_ptr<const IJsonResult> result, int kind);
    JsonResponseKind GetKind() const noexcept { return kind; }
    String ToJsonString() const;

private:
    String errorText;
    std::shared_ptr<const IJsonResult> result;
    JsonResponseKind kind;
};

} // namespace Kyr::Services::Commons::Wbm::Messages
