#include "ews/KerberosTicket.h"

#include <curl/curl.h>
#include <gssapi/gssapi_krb5.h>

#include "ews/Url.h"

namespace ews {
namespace {

// Each releases what the library gave, if it gave any.
struct Credential {
  ~Credential() {
    OM_uint32 nMinor = 0;
    gss_release_cred(&nMinor, &p);
  }
  gss_cred_id_t p = GSS_C_NO_CREDENTIAL;
};
struct Name {
  ~Name() {
    OM_uint32 nMinor = 0;
    gss_release_name(&nMinor, &p);
  }
  gss_name_t p = GSS_C_NO_NAME;
};
struct Text {
  ~Text() {
    OM_uint32 nMinor = 0;
    gss_release_buffer(&nMinor, &obj);
  }
  gss_buffer_desc obj = GSS_C_EMPTY_BUFFER;
};

bool LibcurlKnowsKerberos() {
  constexpr int kNeeded = CURL_VERSION_SPNEGO | CURL_VERSION_KERBEROS5;
  return (curl_version_info(CURLVERSION_NOW)->features & kNeeded) == kNeeded;
}

std::string_view UserOf(std::string_view strLogin) {
  const size_t nDomainEnd = strLogin.find('\\');
  if (nDomainEnd != std::string_view::npos) return strLogin.substr(nDomainEnd + 1);
  return strLogin.substr(0, strLogin.rfind('@'));
}

}  // namespace

std::optional<std::string> KerberosTicketHolder() {
  if (!LibcurlKnowsKerberos()) return std::nullopt;
  OM_uint32 nMinor = 0;
  OM_uint32 nLifetime = 0;
  Credential objCredential;
  Name objName;
  Text objText;
  gss_OID_set_desc objKerberos{1, gss_mech_krb5};
  const bool bFound =
      gss_acquire_cred(&nMinor, GSS_C_NO_NAME, GSS_C_INDEFINITE, &objKerberos, GSS_C_INITIATE,
                       &objCredential.p, nullptr, nullptr) == GSS_S_COMPLETE &&
      gss_inquire_cred(&nMinor, objCredential.p, &objName.p, &nLifetime, nullptr, nullptr) ==
          GSS_S_COMPLETE &&
      nLifetime > 0 &&
      gss_display_name(&nMinor, objName.p, &objText.obj, nullptr) == GSS_S_COMPLETE;
  if (!bFound) return std::nullopt;
  return std::string(static_cast<const char*>(objText.obj.value), objText.obj.length);
}

bool IsTicketOf(std::string_view strHolder, std::string_view strLogin) {
  const std::string_view strUser = UserOf(strLogin);
  return !strUser.empty() && EqualHost(strHolder.substr(0, strHolder.rfind('@')), strUser);
}

}  // namespace ews
