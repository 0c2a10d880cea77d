#include "driver/core/fault_plan.h"

#include <charconv>
#include <optional>

#include "driver/core/text.h"

namespace vortic {

namespace {

constexpr u64 kMaxCall = ~u64{0};
constexpr u64 kMaxAddr = 0xFFFFFFFF;
constexpr std::size_t kMaxIdBytes = 16;
constexpr double kMaxSlow = 1e6;

// "name@N": the number of a call.
std::optional<u64> ParseCall(std::string_view text) {
  const std::optional<u64> call = ParseNumber(text, kMaxCall);
  return call && *call != 0 ? call : std::nullopt;
}

// "VALUE@N" cut in two. False without the sign.
bool CutAtSign(std::string_view text, std::string_view* pValue, std::string_view* pCall) {
  const std::size_t sign = text.find('@');
  if (sign == std::string_view::npos) {
    return false;
  }
  *pValue = Trim(text.substr(0, sign));
  *pCall = Trim(text.substr(sign + 1));
  return true;
}

bool ParseOneCall(std::string_view text, u64* pCall) {
  const std::optional<u64> call = ParseCall(text);
  *pCall = call.value_or(0);
  return call.has_value();
}

bool AddCall(std::string_view text, std::vector<u64>* pCalls) {
  const std::optional<u64> call = ParseCall(text);
  if (call) {
    pCalls->push_back(*call);
  }
  return call.has_value();
}

bool AddCell(std::string_view text, std::vector<FaultPlan::Cell>* pCells) {
  const std::size_t colon = text.find(':');
  if (colon == std::string_view::npos) {
    return false;
  }
  const std::optional<u64> addr = ParseNumber(Trim(text.substr(0, colon)), kMaxAddr);
  const std::optional<u64> bit = ParseNumber(Trim(text.substr(colon + 1)), 7);
  if (!addr || !bit) {
    return false;
  }
  pCells->push_back({*addr, static_cast<u8>(*bit)});
  return true;
}

bool ParseBusy(std::string_view text, FaultPlan* pPlan) {
  std::string_view word;
  std::string_view call;
  return CutAtSign(text, &word, &call) && EqualNoCase(word, "forever") &&
         ParseOneCall(call, &pPlan->BusyForeverAt);
}

bool ParsePower(std::string_view text, FaultPlan* pPlan) {
  std::string_view value;
  std::string_view call;
  if (!CutAtSign(text, &value, &call)) {
    return false;
  }
  const std::optional<u64> milliVolts = ParseNumber(value, 0xFFFF);
  pPlan->PowerMilliVolts = static_cast<u32>(milliVolts.value_or(0));
  return milliVolts.has_value() && ParseOneCall(call, &pPlan->PowerAt);
}

bool AddListResult(std::string_view text, std::vector<FaultPlan::ListResult>* pResults) {
  std::string_view value;
  std::string_view run;
  if (!CutAtSign(text, &value, &run)) {
    return false;
  }
  FaultPlan::ListResult result = {};
  const char* pEnd = value.data() + value.size();
  const auto [pStop, error] = std::from_chars(value.data(), pEnd, result.Value);
  if (error != std::errc() || pStop != pEnd || !ParseOneCall(run, &result.Run)) {
    return false;
  }
  pResults->push_back(result);
  return true;
}

// A length: a number of calls, or a time with "us" or "ms" behind it.
bool ParseTime(std::string_view text, u64* pNs) {
  constexpr u64 maxMs = 3600000;
  const u64 unitNs = text.ends_with("ms") ? 1000000 : text.ends_with("us") ? 1000 : 0;
  if (unitNs == 0) {
    return false;
  }
  text.remove_suffix(2);
  const std::optional<u64> count = ParseNumber(Trim(text), maxMs * 1000000 / unitNs);
  *pNs = count.value_or(0) * unitNs;
  return count.has_value();
}

// "power:LENGTH@N", "link:LENGTH@N", with a delay "+TIME" behind the call or without.
bool AddDip(std::string_view text, std::vector<FaultPlan::Dip>* pDips) {
  std::string_view what;
  std::string_view call;
  if (!CutAtSign(text, &what, &call)) {
    return false;
  }
  FaultPlan::Dip dip = {};
  const std::size_t colon = what.find(':');
  dip.IsLink = EqualNoCase(Trim(what.substr(0, colon)), "link");
  if (colon == std::string_view::npos ||
      (!dip.IsLink && !EqualNoCase(Trim(what.substr(0, colon)), "power"))) {
    return false;
  }
  const std::string_view length = Trim(what.substr(colon + 1));
  dip.IsTimed = ParseTime(length, &dip.Length);
  if ((!dip.IsTimed && !ParseOneCall(length, &dip.Length)) || dip.Length == 0) {
    return false;
  }
  const std::size_t plus = call.find('+');
  if (plus != std::string_view::npos && !ParseTime(Trim(call.substr(plus + 1)), &dip.DelayNs)) {
    return false;
  }
  // A link that dips in the middle of a call fails that call: there is nothing between.
  if (!ParseOneCall(Trim(call.substr(0, plus)), &dip.Call) || (dip.IsLink && dip.DelayNs != 0)) {
    return false;
  }
  pDips->push_back(dip);
  return true;
}

// A factor below 1 makes the chip faster, which is as good a test.
bool ParseSlow(std::string_view text, FaultPlan* pPlan) {
  double factor = 0;
  const char* pEnd = text.data() + text.size();
  const auto [pStop, error] = std::from_chars(text.data(), pEnd, factor);
  if (error != std::errc() || pStop != pEnd || !(factor > 0 && factor <= kMaxSlow)) {
    return false;
  }
  pPlan->Slow = factor;
  return true;
}

bool ParseId(std::string_view text, FaultPlan* pPlan) {
  const std::optional<std::vector<u8>> id = ParseHexBytes(text);
  if (!id || id->empty() || id->size() > kMaxIdBytes) {
    return false;
  }
  pPlan->Id = *id;
  return true;
}

// What stands behind the name, its first character included: '@' or '='.
struct FaultRow {
  std::string_view Name;
  char Mark;
  const char* sForm;
  bool (*pfParse)(std::string_view, FaultPlan*);
};

constexpr FaultRow kFaults[] = {
    {"disconnect", '@', "disconnect@N",
     [](std::string_view t, FaultPlan* p) { return ParseOneCall(t, &p->DisconnectAt); }},
    {"timeout", '@', "timeout@N",
     [](std::string_view t, FaultPlan* p) { return AddCall(t, &p->TimeoutAt); }},
    {"nak", '@', "nak@N", [](std::string_view t, FaultPlan* p) { return AddCall(t, &p->NakAt); }},
    {"mute", '@', "mute@N",
     [](std::string_view t, FaultPlan* p) { return AddCall(t, &p->MuteAt); }},
    {"lost", '@', "lost@N",
     [](std::string_view t, FaultPlan* p) { return AddCall(t, &p->LostAt); }},
    {"stale", '@', "stale@N",
     [](std::string_view t, FaultPlan* p) { return AddCall(t, &p->StaleAt); }},
    {"fastbusy", '@', "fastbusy@N",
     [](std::string_view t, FaultPlan* p) { return ParseOneCall(t, &p->FastBusyAt); }},
    {"noise", '=', "noise=N",
     [](std::string_view t, FaultPlan* p) { return ParseOneCall(t, &p->NoiseEvery); }},
    {"dip", '=', "dip=power:LENGTH@N or dip=link:LENGTH@N",
     [](std::string_view t, FaultPlan* p) { return AddDip(t, &p->Dips); }},
    {"cutpower", '@', "cutpower@N",
     [](std::string_view t, FaultPlan* p) { return ParseOneCall(t, &p->CutPowerAt); }},
    {"flip", '=', "flip=ADDR:BIT",
     [](std::string_view t, FaultPlan* p) { return AddCell(t, &p->Flipped); }},
    {"stuck", '=', "stuck=ADDR:BIT",
     [](std::string_view t, FaultPlan* p) { return AddCell(t, &p->Stuck); }},
    {"busy", '=', "busy=forever@N", ParseBusy},
    {"power", '=', "power=MILLIVOLTS@N", ParsePower},
    {"listresult", '=', "listresult=VALUE@N",
     [](std::string_view t, FaultPlan* p) { return AddListResult(t, &p->ListResults); }},
    {"listing", '=', "listing=VALUE@N",
     [](std::string_view t, FaultPlan* p) { return AddListResult(t, &p->ListingResults); }},
    {"id", '=', "id=XX XX XX", ParseId},
    {"slow", '=', "slow=FACTOR", ParseSlow},
};

bool ParseOneFault(std::string_view item, FaultPlan* pPlan, std::string* pReason) {
  const std::size_t mark = item.find_first_of("@=");
  const std::string_view name = Trim(item.substr(0, mark));
  for (const FaultRow& row : kFaults) {
    if (!EqualNoCase(name, row.Name)) {
      continue;
    }
    if (mark != std::string_view::npos && item[mark] == row.Mark &&
        row.pfParse(Trim(item.substr(mark + 1)), pPlan)) {
      return true;
    }
    *pReason = Format("malformed fault \"%s\", expected %s", Printable(item).c_str(), row.sForm);
    return false;
  }
  *pReason = Format("unknown fault \"%s\"", Printable(item).c_str());
  return false;
}

}  // namespace

bool ParseFaultPlan(std::string_view text, FaultPlan* pPlan, std::string* pReason) {
  for (std::string_view item : Split(text, ',')) {
    if (!ParseOneFault(item, pPlan, pReason)) {
      return false;
    }
  }
  return true;
}

}  // namespace vortic
