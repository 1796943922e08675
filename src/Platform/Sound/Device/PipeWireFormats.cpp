#include "Platform/Sound/Device/PipeWireFormats.h"

#include <spa/param/audio/raw-utils.h>
#include <spa/param/format.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>
#include <spa/utils/json.h>

#include <cstring>

namespace tessivo::sound {

namespace {

// A property's value, or its default where the property is a choice.
template <typename Value>
std::optional<Value> firstValue(const spa_pod* object, std::uint32_t key, std::uint32_t type) {
    const spa_pod_prop* property = spa_pod_find_prop(object, nullptr, key);
    if (property == nullptr) {
        return std::nullopt;
    }
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    spa_pod* values = spa_pod_get_values(&property->value, &count, &choice);
    if (values == nullptr || count == 0 || values->type != type || values->size < sizeof(Value)) {
        return std::nullopt;
    }
    Value value{};
    std::memcpy(&value, values + 1, sizeof value); // a pod's body follows its header
    return value;
}

} // namespace

std::optional<AudioFormat> parseRawFormat(const spa_pod* param) {
    if (param == nullptr || spa_pod_is_object(param) == 0) {
        return std::nullopt;
    }
    const auto type = firstValue<std::uint32_t>(param, SPA_FORMAT_mediaType, SPA_TYPE_Id);
    const auto subtype = firstValue<std::uint32_t>(param, SPA_FORMAT_mediaSubtype, SPA_TYPE_Id);
    if (type != SPA_MEDIA_TYPE_audio || subtype != SPA_MEDIA_SUBTYPE_raw) {
        return std::nullopt;
    }
    const auto rate = firstValue<std::int32_t>(param, SPA_FORMAT_AUDIO_rate, SPA_TYPE_Int);
    const auto channels = firstValue<std::int32_t>(param, SPA_FORMAT_AUDIO_channels, SPA_TYPE_Int);
    if (!rate || *rate <= 0 || !channels || *channels <= 0) {
        return std::nullopt;
    }
    return AudioFormat(*rate, static_cast<std::uint32_t>(*channels));
}

StreamFormat::StreamFormat(double sampleRate, std::uint32_t channelCount) {
    spa_audio_info_raw info{};
    info.format = SPA_AUDIO_FORMAT_F32P;
    info.rate = static_cast<std::uint32_t>(sampleRate);
    info.channels = channelCount;
    if (channelCount == 1) {
        info.position[0] = SPA_AUDIO_CHANNEL_MONO;
    } else {
        info.position[0] = SPA_AUDIO_CHANNEL_FL;
        info.position[1] = SPA_AUDIO_CHANNEL_FR;
    }
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, storage_.data(), static_cast<std::uint32_t>(storage_.size()));
    pod_ = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
}

std::string parseNodeName(const char* json) {
    if (json == nullptr) {
        return {};
    }
    spa_json outer{};
    spa_json object{};
    spa_json_init(&outer, json, std::strlen(json));
    if (spa_json_enter_object(&outer, &object) <= 0) {
        return {};
    }
    std::array<char, 1024> text{};
    constexpr int length = static_cast<int>(text.size());
    while (spa_json_get_string(&object, text.data(), length) > 0) {
        const bool isName = std::strcmp(text.data(), "name") == 0;
        if (isName) {
            return spa_json_get_string(&object, text.data(), length) > 0 ? text.data() : "";
        }
        const char* skipped = nullptr;
        if (spa_json_next(&object, &skipped) <= 0) {
            break;
        }
    }
    return {};
}

std::vector<int> parseNumbers(const char* json) {
    std::vector<int> numbers;
    if (json == nullptr) {
        return numbers;
    }
    spa_json outer{};
    spa_json array{};
    spa_json_init(&outer, json, std::strlen(json));
    spa_json* list = &array;
    if (spa_json_enter_array(&outer, &array) <= 0) {
        spa_json_init(&outer, json, std::strlen(json));
        list = &outer;
    }
    int number = 0;
    while (spa_json_get_int(list, &number) > 0) {
        numbers.push_back(number);
    }
    return numbers;
}

} // namespace tessivo::sound
