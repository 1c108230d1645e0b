// TUserFile: PBKDF2 hashes through OpenSSL, base64 through OpenSSL's EVP
// coder.

#include "server/user_file.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/rand.h>
#include <sys/stat.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

namespace {

const char kScheme[] = "pbkdf2-sha256";
const size_t kSaltBytes = 16;
const size_t kHashBytes = 32;

std::string Base64(const std::string& bytes) {
  std::vector<unsigned char> out(4 * ((bytes.size() + 2) / 3) + 1);
  const int n = EVP_EncodeBlock(out.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                                static_cast<int>(bytes.size()));
  return std::string(reinterpret_cast<const char*>(out.data()), static_cast<size_t>(n));
}

// Strict base64 with padding; false for anything else.
bool FromBase64(std::string_view text, std::string* bytes) {
  if (text.empty() || text.size() % 4 != 0 || text.size() > 4096) return false;
  std::vector<unsigned char> out(text.size() / 4 * 3);
  const int n = EVP_DecodeBlock(out.data(), reinterpret_cast<const unsigned char*>(text.data()),
                                static_cast<int>(text.size()));
  if (n < 0) return false;
  size_t padding = 0;
  if (text.back() == '=') ++padding;
  if (text.size() > 1 && text[text.size() - 2] == '=') ++padding;
  bytes->assign(reinterpret_cast<const char*>(out.data()), static_cast<size_t>(n) - padding);
  return true;
}

bool ValidName(const std::string& name) {
  return !name.empty() && name.find_first_of(":\r\n") == std::string::npos;
}

}  // namespace

std::string TUserFile::Hash(std::string_view password, const std::string& salt, unsigned iterations) {
  unsigned char out[kHashBytes];
  PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                    reinterpret_cast<const unsigned char*>(salt.data()), static_cast<int>(salt.size()),
                    static_cast<int>(iterations), EVP_sha256(), sizeof out, out);
  return std::string(reinterpret_cast<const char*>(out), sizeof out);
}

bool TUserFile::Load(const std::string& path, bool mayBeMissing, std::string* error) {
  users_.clear();
  std::ifstream in(path);
  if (!in) {
    if (mayBeMissing) return true;
    *error = "cannot read " + path;
    return false;
  }
  std::string line;
  int number = 0;
  while (std::getline(in, line)) {
    ++number;
    if (line.empty() || line[0] == '#') continue;
    const size_t colon = line.find(':');
    std::string fields[4];
    std::istringstream rest(colon == std::string::npos ? std::string() : line.substr(colon + 1));
    int count = 0;
    while (count < 4 && std::getline(rest, fields[count], '$')) ++count;
    TEntry entry;
    const std::string name = line.substr(0, colon);
    char* end = nullptr;
    entry.iterations = count == 4 ? static_cast<unsigned>(std::strtoul(fields[1].c_str(), &end, 10)) : 0;
    if (colon == std::string::npos || !ValidName(name) || count != 4 || fields[0] != kScheme ||
        entry.iterations == 0 || *end != '\0' || !FromBase64(fields[2], &entry.salt) ||
        !FromBase64(fields[3], &entry.hash) || entry.hash.size() != kHashBytes) {
      *error = path + ":" + std::to_string(number) + ": not a line of name:" + kScheme +
               "$iterations$salt$hash";
      return false;
    }
    users_[name] = std::move(entry);
  }
  return true;
}

bool TUserFile::Save(const std::string& path, std::string* error) const {
  const std::string temporary = path + ".tmp";
  {
    const mode_t previous = umask(077);
    std::ofstream out(temporary, std::ios::trunc);
    umask(previous);
    for (const auto& user : users_) {
      out << user.first << ':' << kScheme << '$' << user.second.iterations << '$'
          << Base64(user.second.salt) << '$' << Base64(user.second.hash) << '\n';
    }
    out.flush();
    if (!out) {
      *error = "cannot write " + temporary;
      return false;
    }
  }
  if (std::rename(temporary.c_str(), path.c_str()) != 0) {
    *error = "cannot rename " + temporary + " to " + path;
    return false;
  }
  return true;
}

bool TUserFile::SetPassword(const std::string& name, std::string_view password) {
  if (!ValidName(name)) return false;
  TEntry entry;
  entry.iterations = kIterations;
  entry.salt.resize(kSaltBytes);
  if (RAND_bytes(reinterpret_cast<unsigned char*>(&entry.salt[0]), kSaltBytes) != 1) return false;
  entry.hash = Hash(password, entry.salt, entry.iterations);
  users_[name] = std::move(entry);
  return true;
}

bool TUserFile::Check(std::string_view name, std::string_view password) const {
  // An unknown name costs the same hash, against a salt and hash of its own.
  static const TEntry kNobody{kIterations, std::string(kSaltBytes, '\0'), std::string(kHashBytes, '\0')};
  auto it = users_.find(name);
  const TEntry& entry = it == users_.end() ? kNobody : it->second;
  const std::string hash = Hash(password, entry.salt, entry.iterations);
  const bool same = CRYPTO_memcmp(hash.data(), entry.hash.data(), kHashBytes) == 0;
  return same && it != users_.end();
}

bool TUserFile::ReadBasic(std::string_view header, std::string* name, std::string* password) {
  const std::string_view scheme = "Basic ";
  if (header.size() <= scheme.size()) return false;
  for (size_t i = 0; i < scheme.size(); ++i) {
    if (std::tolower(static_cast<unsigned char>(header[i])) !=
        std::tolower(static_cast<unsigned char>(scheme[i]))) {
      return false;
    }
  }
  std::string credentials;
  if (!FromBase64(header.substr(scheme.size()), &credentials)) return false;
  const size_t colon = credentials.find(':');
  if (colon == std::string::npos) return false;
  *name = credentials.substr(0, colon);
  *password = credentials.substr(colon + 1);
  return true;
}
