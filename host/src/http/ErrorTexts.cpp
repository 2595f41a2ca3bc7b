#include "http/ErrorTexts.h"

namespace Kyr::WbmHost {

const char* StatusText(int status) {
    switch (status) {
    case 400: return "Bad request";
    case 401: return ErrorText::LoginRequired;
    case 403: return "Forbidden";
    case 404: return "Not found";
    case 405: return "Method not allowed";
    case 408: return ErrorText::BodyTooSlow;
    case 411: return "Request body length required";
    case 413: return ErrorText::BodyTooLarge;
    case 414: return "Request target too long";
    case 431: return "Request headers too large";
    case 503: return "Service unavailable";
    default: return status >= 500 ? ErrorText::InternalError : "Request refused";
    }
}

std::string HtmlErrorPage(const std::string& title) {
    return "<!DOCTYPE html>\n<html lang=\"en\"><head><meta charset=\"utf-8\"><title>" + title +
           "</title></head><body><h1>" + title + "</h1><p><a href=\"/login.html\">Login</a></p></body></html>\n";
}

} // namespace Kyr::WbmHost
