#include "event_json.h"

#include "printable.h"
#include "text.h"

#include <nlohmann/json.hpp>

using Json = nlohmann::ordered_json;
using std::chrono::duration_cast;

namespace kx::tools {
namespace {

Json ToJson(const Device& device)
{
    const std::string mac = MacOf(device);
    return {{"address", device.address},
            {"types", device.types},
            {"scopes", device.scopes},
            {"xaddrs", device.xaddrs},
            {"mac", mac.empty() ? Json() : Json(mac)},
            {"metadataVersion", device.metadataVersion ? Json(*device.metadataVersion) : Json()}};
}

Json ToJson(const AppSequence& sequence)
{
    return {{"instanceId", sequence.instanceId},
            {"sequenceId", sequence.sequenceId.empty() ? Json() : Json(sequence.sequenceId)},
            {"messageNumber", sequence.messageNumber}};
}

} // namespace

std::string ToJsonLine(const Event& event)
{
    const Heard& heard = event.heard;
    Json json{{"event", NameOf(event.kind)},
              {"time", TimeText(heard.time, gmtime_r, "%Y-%m-%dT%H:%M:%S") + "Z"}};
    json.update(ToJson(heard.device));
    json["adapter"] = heard.adapter.empty() ? Json() : Json(heard.adapter);
    json["source"] = Compose(heard.source);
    json["advertisesOtherHost"] = AdvertisesOtherHost(heard.device, heard.source.address());
    json["relatesTo"] = heard.relatesTo.empty() ? Json() : Json(heard.relatesTo);
    json["appSequence"] = heard.appSequence ? ToJson(*heard.appSequence) : Json();
    json["roundTripMs"] = nullptr;
    if (heard.roundTrip) {
        const auto roundTrip = duration_cast<std::chrono::microseconds>(*heard.roundTrip);
        json["roundTripMs"] = static_cast<double>(roundTrip.count()) / 1000;
    }
    if (event.was)
        json["was"] = ToJson(*event.was);
    return json.dump(-1, ' ', true, Json::error_handler_t::replace);
}

} // namespace kx::tools
