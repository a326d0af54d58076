#include "JsonText.h"

#include <json/reader.h>
#include <json/writer.h>

#include <memory>

namespace ReportingServer
{
    Json::Value ParseJson(std::string_view text)
    {
        Json::CharReaderBuilder builder;
        Json::CharReaderBuilder::strictMode(&builder.settings_);
        std::unique_ptr<Json::CharReader> const reader(builder.newCharReader());

        Json::Value root;
        std::string errors;
        if (!reader->parse(text.data(), text.data() + text.size(), &root, &errors))
            Json::throwRuntimeError(errors);
        return root;
    }

    std::string FormatJson(Json::Value const& value)
    {
        Json::StreamWriterBuilder builder;
        builder["indentation"] = "";
        builder["emitUTF8"] = true;
        return Json::writeString(builder, value);
    }
}
