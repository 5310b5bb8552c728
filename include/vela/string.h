/* The language's String: an immutable, counted run of bytes tagged with an
 * encoding code. The null handle is Nil and the only empty string. */
#ifndef VELA_STRING_H
#define VELA_STRING_H

#include "vela/base.h"

VELA_BEGIN_DECLS

/* The string record. Natural C layout with 8-byte pointers:
 *   0 mRefCount, 8 mBuffer, 16 mReserved, 20 mLength, 24 mEncoding,
 *   28 mCharCount, 32 mText[] (the length byte, or one alignment byte and
 *   then the length byte), the text, four zero bytes.
 * mBuffer points at the length byte; the text starts right behind it and
 * always lies on an even address. */
typedef struct TESSstringRecord {
  int32_t mRefCount;   /* 0 marks a record that is never counted or freed */
  uint32_t mPad;
  unsigned char *mBuffer;
  uint32_t mReserved;
  int32_t mLength;     /* bytes */
  uint32_t mEncoding;
  int32_t mCharCount;  /* 0 until counted */
  unsigned char mText[];
} TESSstringRecord;

typedef TESSstringRecord *TESSstring;

/* Encoding codes that the string record itself tests. */
#define kEncodingMacRoman 0x0u
#define kEncodingUTF16 0x100u
#define kEncodingUTF16BE 0x10000100u
#define kEncodingUTF16LE 0x14000100u
#define kEncodingUTF32 0x0C000100u
#define kEncodingUTF32BE 0x18000100u
#define kEncodingUTF32LE 0x1C000100u
#define kEncodingUTF8 0x08000100u
#define kEncodingASCII 0x600u
#define kEncodingWindowsLatin1 0x500u
#define kEncodingUnknown 0xFFFFu

VELA_API void RuntimeLockString(TESSstring s);
VELA_API void RuntimeUnlockString(TESSstring s);
VELA_API void RuntimeLockUnlockStrings(TESSstring newValue, TESSstring oldValue);
VELA_API TESSstring RuntimeAddString(TESSstring a, TESSstring b);
VELA_API int32_t RuntimeStringCompare(TESSstring a, TESSstring b);
VELA_API int32_t StringStrCompare(TESSstring a, TESSstring b, int32_t mode);

VELA_API TESSstring StringFromCString(const char *text);
VELA_API TESSstring StringFromPString(const unsigned char *text);
VELA_API TESSstring StringFromWString(const uint16_t *text);
VELA_API TESSstring StringFromOSType(uint32_t code);
VELA_API char *StringToCString(TESSstring s);
VELA_API unsigned char *StringToPString(TESSstring s);
VELA_API uint16_t *StringToWString(TESSstring s);
VELA_API uint32_t StringToOSType(TESSstring s);

VELA_API void RuntimeLockCString(char *text);
VELA_API void RuntimeUnlockCString(char *text);
VELA_API void RuntimeSwapCStringLocks(char *newText, char *oldText);
VELA_API void RuntimeLockPString(unsigned char *text);
VELA_API void RuntimeUnlockPString(unsigned char *text);
VELA_API void RuntimeSwapPStringLocks(unsigned char *newText, unsigned char *oldText);
VELA_API void LockWString(uint16_t *text);
VELA_API void UnlockWString(uint16_t *text);
VELA_API void SwapWStringLocks(uint16_t *newText, uint16_t *oldText);

VELA_API TESSstring RuntimeGetStructureString(const void *base, intptr_t offset, int32_t size);
VELA_API void RuntimeSetStructureString(void *base, intptr_t offset, int32_t size, TESSstring s);
VELA_API void RuntimeSetStructureWString(void *base, intptr_t offset, int32_t size, TESSstring s);
VELA_API TESSstring RuntimeGetStructureContents(const void *data, int32_t length);

VELA_END_DECLS

#endif
