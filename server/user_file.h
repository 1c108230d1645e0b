// TUserFile: the users a server lets in, each with a salted, slow hash of
// the password (PBKDF2 with HMAC-SHA-256, OpenSSL), one per line:
//
//   name:pbkdf2-sha256$iterations$salt$hash      (salt and hash in base64)
//
// Lines that are empty or start with '#' are skipped. `inmem passwd FILE
// USER` writes such lines (SetPassword and Save).
//
// Checking a password costs one full hash whatever the name, and compares
// in constant time, so that neither the time taken nor the answer tells an
// unknown name from a wrong password.

#ifndef INMEM_SERVER_USER_FILE_H_
#define INMEM_SERVER_USER_FILE_H_

#include <map>
#include <string>
#include <string_view>

class TUserFile {
 public:
  // Work of one hash: slow enough to make guessing costly, quick enough
  // for one login (about 50 ms here).
  static constexpr unsigned kIterations = 100000;

  // Reads `path`; false with the reason in *error (a missing file reads as
  // empty when `mayBeMissing`).
  bool Load(const std::string& path, bool mayBeMissing, std::string* error);
  // Writes every user to `path` (a temporary file renamed into place, so
  // the file is never half written), readable by its owner only.
  bool Save(const std::string& path, std::string* error) const;

  // Sets (or replaces) the password of `name`, with a fresh salt. False
  // for a name that cannot stand in the file (empty, or holding ':' or a
  // line break).
  bool SetPassword(const std::string& name, std::string_view password);
  bool Check(std::string_view name, std::string_view password) const;
  bool Empty() const { return users_.empty(); }

  // The credentials of an HTTP Basic Authorization header value
  // ("Basic dXNlcjpwdw=="); false when it is not one.
  static bool ReadBasic(std::string_view header, std::string* name, std::string* password);

 private:
  struct TEntry {
    unsigned iterations = 0;
    std::string salt;  // raw bytes
    std::string hash;  // raw bytes
  };
  static std::string Hash(std::string_view password, const std::string& salt, unsigned iterations);

  std::map<std::string, TEntry, std::less<>> users_;
};

#endif  // INMEM_SERVER_USER_FILE_H_
