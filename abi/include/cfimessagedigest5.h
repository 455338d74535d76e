// The MD5 message digest of RFC 1321.
#ifndef CFIMESSAGEDIGEST5_H
#define CFIMESSAGEDIGEST5_H

#include "kzfi_pdk.h"

namespace kzfi_pdk_4_4 {

/// Computes an MD5 digest, at once or piece by piece:
///     CFiMessageDigest5("abc").GetAnsiMessageDigest();    // 900150983cd24fb0d6963f7d28e17f72
///
///     CFiMessageDigest5 digest;
///     digest.Update(block, size);                         // as often as there is input
///     digest.Finalize();
/// For names and checksums; MD5 protects nothing against an attacker.
///
/// Threads: no lock; one thread at a time uses an object.
/// Ownership: a plain value; the texts belong to the object and change with it.
/// Errors: none. A null text or null data counts as no bytes.
class KZFI_PDK_API CFiMessageDigest5 {
  public:
    /// Takes input through Update() until Finalize().
    CFiMessageDigest5();

    /// The finished digest of the bytes before the NUL.
    explicit CFiMessageDigest5(const char* text);

    /// The finished digest of the units before the zero unit, two bytes each as they lie in memory.
    explicit CFiMessageDigest5(const unsigned short* text);

    /// The finished digest of length bytes.
    CFiMessageDigest5(const void* data, unsigned long length);

    CFiMessageDigest5(const CFiMessageDigest5&) = default;
    CFiMessageDigest5& operator=(const CFiMessageDigest5&) = default;
    ~CFiMessageDigest5() = default;

    /// Starts again with no input, also after Finalize(). Returns 0.
    int Initialize();

    /// Appends input; ignored after Finalize().
    void Update(const unsigned char* data, unsigned long length);

    /// Makes the digest; does nothing the second time.
    void Finalize();

    /// Byte i of the digest; 0 before Finalize() and for i above 15.
    unsigned char operator[](unsigned long i) const;

    /// The digest as 32 lower-case hexadecimal digits; empty before Finalize().
    const char* GetAnsiMessageDigest() const;

    /// Always the empty text, kept so on purpose: callers use the 8-bit one.
    const unsigned short* GetUnicodeMessageDigest() const;

  private:
    void Transform(const unsigned char* block);
    void pad();
    void writeText();

    unsigned char buffer[64];
    unsigned long bufferCount;
    // 32-bit words.
    unsigned long wordA;
    unsigned long wordB;
    unsigned long wordC;
    unsigned long wordD;
    unsigned long bitLength;
    unsigned char digest[16];
    // Not empty once the digest is made.
    char ansiText[33];
    unsigned short unicodeText[66];
};

} // namespace kzfi_pdk_4_4

#endif
