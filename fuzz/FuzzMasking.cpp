// Attribute name, mask and text: both masks against the plain model.

#include "Fuzz.h"
#include "masking/MaskingModel.h"

#include <QzLog/Masking.h>

#include <QzBase/Conversions.h>
#include <QzResource/Localizer.h>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    auto const [name, mask, text] = Fuzz::TakeTexts<3>(data, size);
    std::string const expected = MaskingModel::MaskAttribute(text, name, mask);
    Fuzz::Check(expected == QzLog::ReplaceSensitiveMessage(text.c_str(), name.c_str(), mask.c_str()).c_str(),
        "attribute values are masked as in the model");
    QzBase::ReturnWString const wide = QzBase::UTF8ToWideChar(text.c_str(), false);
    Fuzz::Check(expected == QzLog::ReplaceSensitiveMessage(wide.c_str(), name.c_str(), mask.c_str()).c_str(),
        "wide text is masked like narrow text");
    Fuzz::Check(MaskingModel::MaskHTTP(text, QzResource::REST_TAG_PASSWORD) ==
                    QzLog::ReplaceSensitiveMessageInHTTP(text.c_str()).c_str(),
        "passwords are masked as in the model");
    return 0;
}
