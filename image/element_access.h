/// Moves elements between image areas, reply bytes and host byte arrays.
///
/// Areas hold AreaElements elements; what lies outside reads as 0 and is not written. Get routines write by index over
/// out, which grows with zeros; Set routines skip an element whose bytes in does not hold.
/// REQUIRES: the lock of store_lock.h held.
#pragma once

#include <QtCore/QByteArray>

// From the image to the host. count is in bits, bits, words, words (two a value) and half-values (two a value).
void GetBitFromUC(QByteArray &out, const unsigned char *area, int start, int count);
void GetBitFromUS(QByteArray &out, const unsigned short *area, int start, int count);
void GetWordFromUS(QByteArray &out, const unsigned short *area, int start, int count);
void GetWordFromUI(QByteArray &out, const unsigned short *area, int start, int count);
void GetWordFromUI_DCV(QByteArray &out, const unsigned int *area, int start, int count);

// From the host to the image. count is in bits, bits, words, words (two a value) and values.
void SetBitToUC(int start, unsigned char *area, const QByteArray &in, int count);
void SetBitToUS(int start, unsigned short *area, const QByteArray &in, int count);
void SetWordToUS(int start, unsigned short *area, const QByteArray &in, int count);
void SetWordToUI(int start, unsigned short *area, const QByteArray &in, int count);
void SetWordToUI_DCV(int start, unsigned int *area, const QByteArray &in, int count);

// From the reply to the frame in flight, which says where its data lie and which address they belong to.
void SaveBitToUC(const QByteArray &reply, unsigned char *area);
void SaveWordToUS(const QByteArray &reply, unsigned short *area);
void SaveWordToUI(const QByteArray &reply, unsigned int *area);
