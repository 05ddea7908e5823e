#include "programs/update/download.h"

#include <memory>

#include <curl/curl.h>

#include "programs/update/update_error.h"

namespace tarvel::update {
namespace {

constexpr long kConnectSeconds = 20;
constexpr long kSlowestRate = 1024;  // bytes a second
constexpr long kSlowSeconds = 30;
constexpr long kWholeSeconds = 600;

struct Cleanup {
  void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
  void operator()(CURLU* url) const { curl_url_cleanup(url); }
  void operator()(char* text) const { curl_free(text); }
};

struct Sink {
  std::string bytes;
  std::uint64_t limit;
};

std::size_t take(char* data, std::size_t size, std::size_t count, void* target) {
  auto& sink = *static_cast<Sink*>(target);
  if (sink.bytes.size() + size * count > sink.limit) return 0;  // ends the transfer
  sink.bytes.append(data, size * count);
  return size * count;
}

std::string part(CURLU* url, CURLUPart which) {
  char* text = nullptr;
  if (curl_url_get(url, which, &text, 0) != CURLUE_OK) return {};
  return std::unique_ptr<char, Cleanup>(text).get();
}

bool isOwnHost(const std::string& host) {
  return host == "127.0.0.1" || host == "localhost" || host == "[::1]";
}

std::string hostOf(const std::string& url) {
  const std::unique_ptr<CURLU, Cleanup> parsed(curl_url());
  const bool valid =
      parsed && curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) == CURLUE_OK;
  return valid ? part(parsed.get(), CURLUPART_HOST) : std::string();
}

void configure(CURL* handle, const std::string& url, Sink& sink) {
  // What is asked of this machine stays on it, whatever proxy the environment names.
  if (isOwnHost(hostOf(url))) curl_easy_setopt(handle, CURLOPT_PROXY, "");
  curl_easy_setopt(handle, CURLOPT_URL, url.c_str());
  curl_easy_setopt(handle, CURLOPT_PROTOCOLS_STR, "http,https");
  curl_easy_setopt(handle, CURLOPT_FOLLOWLOCATION, 0L);
  curl_easy_setopt(handle, CURLOPT_CONNECTTIMEOUT, kConnectSeconds);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_LIMIT, kSlowestRate);
  curl_easy_setopt(handle, CURLOPT_LOW_SPEED_TIME, kSlowSeconds);
  curl_easy_setopt(handle, CURLOPT_TIMEOUT, kWholeSeconds);
  curl_easy_setopt(handle, CURLOPT_USERAGENT, "Tarvel");
  curl_easy_setopt(handle, CURLOPT_WRITEFUNCTION, take);
  curl_easy_setopt(handle, CURLOPT_WRITEDATA, &sink);
}

}  // namespace

bool isAllowedAddress(const std::string& url) {
  const std::unique_ptr<CURLU, Cleanup> parsed(curl_url());
  if (!parsed || curl_url_set(parsed.get(), CURLUPART_URL, url.c_str(), 0) != CURLUE_OK) {
    return false;
  }
  const std::string scheme = part(parsed.get(), CURLUPART_SCHEME);
  const std::string host = part(parsed.get(), CURLUPART_HOST);
  return scheme == "https" || (scheme == "http" && isOwnHost(host));
}

std::string download(const std::string& url, std::uint64_t limit) {
  if (!isAllowedAddress(url)) throw UpdateError(url + ": neither HTTPS nor on this machine");
  const std::unique_ptr<CURL, Cleanup> handle(curl_easy_init());
  if (!handle) throw UpdateError("no network library");
  Sink sink{{}, limit};
  configure(handle.get(), url, sink);
  const CURLcode result = curl_easy_perform(handle.get());
  if (result == CURLE_WRITE_ERROR) throw UpdateError(url + ": larger than it may be");
  if (result != CURLE_OK) throw UpdateError(url + ": " + curl_easy_strerror(result));
  long status = 0;
  curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
  if (status >= 300 && status < 400) throw UpdateError(url + ": leads elsewhere");
  if (status != 200) throw UpdateError(url + ": answer " + std::to_string(status));
  return std::move(sink.bytes);
}

}  // namespace tarvel::update
