// Images of firmware, put together byte by byte, for the tests of what checks them; nothing here is shared
// with the library that does. Good as made; each field may be given what makes the image a bad one.
//
//     FirmwareImage image;                                     // 4 MiB, unsigned
//     image.tags[0x11] = "5.03";
//     image.Sign(made, {"leaf", "inter"});                     // made by Certificates, with LEAF and CA
//     std::string const path = dir.Write("image", image.File());
//     EXPECT_EQ(Check(path), "good");
//     image.tags[0x10002] = "no certificate";                  // the signature stays as it is
//
// Order      what changes after Sign() is not covered by the signature; the checksums of table and trailer
// are
//            always right, but for what a test writes into the bytes of File()
#pragma once

#include "workbench/Certificates.h"

#include <map>
#include <string>
#include <vector>

struct FirmwareImage {
    using TagsT = std::map<unsigned, std::string>;

    // The extensions of a certificate whose key may sign images.
    static constexpr char LEAF[] =
        "basicConstraints=CA:FALSE\nkeyUsage=digitalSignature\nextendedKeyUsage=codeSigning";

    std::size_t block = 0x10000;
    std::size_t place = 1; // block of the table
    char fill = '\xFF';
    std::size_t size = 0x400000;
    TagsT tags;
    std::string behind{};            // what stands behind the table in its block
    std::size_t signatureRoom = 300; // bytes of the signature's tag

    // An unsigned image: firmware ID, version, block size, digest, and the fill byte if it is another.
    explicit FirmwareImage(std::size_t blockSize = 0x10000, std::size_t tablePlace = 1,
                           char fillByte = '\xFF');

    // For tables of bad images: F().Without(3).With(0x10004).Follow("junk"). Any of them makes a signature a
    // wrong one.
    FirmwareImage& With(unsigned tag, std::string value = {});
    FirmwareImage& Without(unsigned tag);
    FirmwareImage& Follow(std::string bytes);

    // The blocks, the table among them; unsealed: with a table whose checksum is 0, as signatures cover it.
    std::string Raw(bool sealed = true) const;

    // The blocks and the trailer.
    std::string File() const;

    // Makes it a signed one: NAME.pem of each, one behind the other, and the signature by the key of the
    // first.
    FirmwareImage& Sign(Certificates const& made, std::vector<std::string> const& names,
                        std::string const& digest = "sha256");

    // The halves of Sign(): the certificates, with a signature that is none; and a signature by NAME.key.
    FirmwareImage& Certify(Certificates const& made, std::vector<std::string> const& names,
                           std::string const& digest = "sha256");
    FirmwareImage& Seal(Certificates const& made, std::string const& key);

    // Four bytes, the highest first; the lowest first.
    static std::string Word(unsigned long value);
    static std::string LittleWord(unsigned long value);

    // The CRC-32 of Ethernet, by the slow and obvious way, without the inversion at its end.
    static unsigned Crc(std::string const& data);

    // A table of tags: its image as a file has it. The other writes the right checksum into any image.
    static std::string Table(std::string const& magic, TagsT const& tags);
    static std::string SealTable(std::string image);
};

// Who signs images: "root", "inter" issued by it, and "leaf" issued by that, whose key may; LEAF is its
// extensions. Their serial numbers are 1, 0x0102...1314 (20 bytes) and 0x0A1B.
class FirmwareSigners : public Certificates {
public:
    // A folder of authorities: "root", beside what is no certificate.
    std::string const trusted;

    FirmwareSigners();

    // Makes a folder of authorities with these files, and an empty folder among them; its path.
    std::string Folder(std::string const& name, std::map<std::string, std::string> const& files) const;
};
