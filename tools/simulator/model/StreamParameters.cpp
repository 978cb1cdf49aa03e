// SPDX-License-Identifier: MIT
#include "StreamParameters.h"

#include "Refusal.h"
#include "Vocabulary.h"

namespace Simulator {

namespace {

QString ReadStreamModeName(const Parameters& parameters, const QString& focusType)
{
    if (!parameters.Has(Key::StreamModeName)) {
        return QString();
    }
    if (focusType != Value::Permanent) {
        throw Refusal(ErrorCode::InvalidValue,
                      QStringLiteral("only a stream with permanent focus can offer a mode"));
    }
    return parameters.NonEmptyText(Key::StreamModeName);
}

} // namespace

Stream ReadStream(const Parameters& parameters)
{
    Stream stream;
    stream.name = parameters.NonEmptyText(Key::StreamName);
    stream.type = parameters.NonEmptyText(Key::StreamType);
    stream.focusType = parameters.OneOf(Key::FocusType, Value::Permanent, Value::Transient);
    stream.modeName = ReadStreamModeName(parameters, stream.focusType);
    return stream;
}

Parameters ParametersOf(const Stream& stream)
{
    QJsonObject object{
        {Key::StreamName, stream.name}, {Key::StreamType, stream.type}, {Key::FocusType, stream.focusType}};
    if (!stream.modeName.isEmpty()) {
        object.insert(Key::StreamModeName, stream.modeName);
    }
    return Parameters(object);
}

} // namespace Simulator
