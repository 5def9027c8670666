"""Which part of the driver a mutant is in. Of the first four, every mutant has to be killed."""

AREAS = ("checksums", "reply check", "retry", "boundaries", "the rest")
STRICT = AREAS[:-1]

# file -> area, or file -> {function: area}
PLACES = {
    "driver/checksum.cpp": "checksums",
    "frames/frame_writer.h": {"crc": "checksums", "sum": "checksums"},
    "driver/bytes.h": {"lowByte": "checksums", "highByte": "checksums", "holdsBytes": "boundaries",
                       "byteAt": "boundaries", "growTo": "boundaries", "fitTo": "boundaries"},
    "driver/reply.cpp": "reply check",
    "driver/data_com.cpp": "retry",
    "driver/limits.h": "boundaries",
    "varlist/cut.h": "boundaries",
    "varlist/read_list.cpp": "boundaries",
    "varlist/write_list.cpp": {"crossesWhenWritten": "boundaries", "plcWriteTypeShort": "boundaries",
                               "plcTypeWriteShortAdd": "boundaries"},
    "varlist/device_traits.cpp": "boundaries",
    "varlist/device_traits.h": "boundaries",
    "frames/address_map.cpp": "boundaries",
    "frames/address_map.h": "boundaries",
    "frames/pending.h": {"exceedsElementLimit": "boundaries"},
    "frames/write_request.cpp": {"isFrame": "boundaries", "multipleLength": "boundaries"},
    "image/areas.h": "boundaries",
    "image/areas.cpp": "boundaries",
}


def area_of(mutant):
    place = PLACES.get(mutant["file"], AREAS[-1])
    return place if isinstance(place, str) else place.get(mutant["function"], AREAS[-1])
