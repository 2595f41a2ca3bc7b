#pragma once
#include <map>
#include <utility>

#include "Kyr/System/Acf/SecurityToken.h"
#include "Kyr/System/Commons/Api.h"
#include "Kyr/System/Commons/String.h"

namespace Kyr::Services::Commons::Wbm::Messages {

using Kyr::System::Acf::SecurityToken;

// The request body, as received.
class KYR_API RequestData {
public:
    RequestData() = default;
    explicit RequestData(String bytes) : bytes(std::move(bytes)) {}
    // completeData true: every byte as received; false: the text up to the first zero byte.
    String GetDataString(bool completeData) const;

private:
    String bytes;
};

// The query string of the request ("a=1&b=x%20y").
class KYR_API RequestQuery {
public:
    RequestQuery() = default;
    explicit RequestQuery(String queryString) : queryString(std::move(queryString)) {}
    // The value of the first parameter named `name` (names compared as sent, undecoded). urlDecode
    // true: "%XX" and "+" are decoded in the value. False when the parameter is absent; a parameter
    // written without "=" has the empty value.
    bool TryGetParameterValue(const String& name, String& value, bool urlDecode) const;
    const String& GetQueryString() const noexcept { return queryString; }

private:
    String queryString;
};

class KYR_API RequestParams {
public:
    RequestParams() = default;
    explicit RequestParams(RequestQuery query) : query(std::move(query)) {}
    const RequestQuery& GetQuery() const noexcept { return query; }

private:
    RequestQuery query;
};

class KYR_API WbmRequest {
public:
    WbmRequest(String functionName, SecurityToken token, RequestData data, RequestParams params)
        : functionName(std::move(functionName)), token(std::move(token)), data(std::move(data)), params(std::move(params)) {}
    const String& GetFunctionName() const noexcept { return functionName; }
    const SecurityToken& GetSecurityToken() const noexcept { return token; }
    const RequestData& GetRequestData() const noexcept { return data; }
    const RequestParams& GetRequestParams() const noexcept { return params; }

private:
    String functionName;
    SecurityToken token;
    RequestData data;
    RequestParams params;
};

} // namespace Kyr::Services::Commons::Wbm::Messages
