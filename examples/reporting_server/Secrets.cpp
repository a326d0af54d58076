#include "Secrets.h"

#include "JsonText.h"
#include "Request.h"

#include <QzLog/Masking.h>
#include <QzResource/Localizer.h>

namespace ReportingServer
{
    namespace
    {
        constexpr char const* kMask = "***";
        constexpr char const* kSecretAttributes[] = {"password", "newPassword"};

        bool HoldsPassword(Json::Value const& value);

        bool IsOpenPassword(std::string const& name, Json::Value const& value)
        {
            return name == QzResource::REST_TAG_PASSWORD && !(value.isString() && value.asString() == kMask);
        }

        bool ObjectHoldsPassword(Json::Value const& object)
        {
            for (std::string const& name : object.getMemberNames())
                if (IsOpenPassword(name, object[name]) || HoldsPassword(object[name]))
                    return true;
            return false;
        }

        bool HoldsPassword(Json::Value const& value)
        {
            if (value.isObject())
                return ObjectHoldsPassword(value);
            for (Json::Value const& element : value)
                if (HoldsPassword(element))
                    return true;
            return false;
        }

        /// The mask looks for a tag, a colon and quotes and knows nothing else of JSON: a password that ends in a
        /// backslash, is a number, or has an escape in its name escapes it. So the masked text is read back.
        bool IsProvenMasked(std::string const& text)
        {
            try
            {
                return !HoldsPassword(ParseJson(text));
            }
            catch (Json::Exception const&)
            {
                return false;
            }
        }
    }

    std::string DescribeAttributes(Request const& request)
    {
        // Put together anew and not taken from the line: the mask wants exactly one blank before a name.
        std::string text;
        for (auto const& [name, value] : request.mAttributes)
            text.append(" ").append(name).append("=\"").append(value).append("\"");
        for (char const* const name : kSecretAttributes)
            text = QzLog::ReplaceSensitiveMessage(text.c_str(), name, kMask).c_str();
        return text;
    }

    std::string DescribeBody(Request const& request)
    {
        std::string masked = QzLog::ReplaceSensitiveMessageInHTTP(request.mBody.c_str()).c_str();
        return masked.empty() || IsProvenMasked(masked) ? masked : "(withheld)";
    }
}
