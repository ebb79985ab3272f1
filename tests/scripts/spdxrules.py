"""What a document of SPDX 2.3 in JSON may have: the fields of the standard's own schema that a bill of materials uses, the forms
of their values, and that everything it refers to is in it."""

import hashlib
import re

import jsonschema


def record(required, **optional):
    return {"type": "object", "required": list(required), "properties": {**required, **optional}, "additionalProperties": False}


def text(pattern=None):
    return {"type": "string", "minLength": 1, **({"pattern": pattern} if pattern else {})}


def some(items):
    return {"type": "array", "minItems": 1, "items": items}


def one_of(words):
    return {"enum": words.split()}


IDENTIFIER = text(r"^SPDXRef-[A-Za-z0-9.-]+$")
AGENT = text(r"^(Person|Organization|Tool): \S")

# A licence, perhaps with an exception, and several joined by AND.
LICENCE = r"(LicenseRef-)?[A-Za-z0-9.-]+\+?( WITH [A-Za-z0-9.-]+)?"
EXPRESSION = text(r"^(NOASSERTION|NONE|{0}( AND {0})*)$".format(LICENCE))

CHECKSUM = {
    "oneOf": [
        record({"algorithm": {"const": "SHA1"}, "checksumValue": text("^[0-9a-f]{40}$")}),
        record({"algorithm": {"const": "SHA256"}, "checksumValue": text("^[0-9a-f]{64}$")}),
    ]
}

REFERENCE = record(
    {
        "referenceCategory": one_of("OTHER PERSISTENT-ID SECURITY PACKAGE-MANAGER"),
        "referenceLocator": text(r"^\S+$"),
        "referenceType": text(),
    }
)

PURPOSES = "OTHER INSTALL ARCHIVE FIRMWARE APPLICATION FRAMEWORK LIBRARY CONTAINER SOURCE DEVICE OPERATING_SYSTEM FILE"

PACKAGE = record(
    {"SPDXID": IDENTIFIER, "name": text(), "downloadLocation": text()},
    checksums=some(CHECKSUM),
    comment=text(),
    externalRefs=some(REFERENCE),
    filesAnalyzed={"type": "boolean"},
    homepage=text("^https?://"),
    licenseConcluded=EXPRESSION,
    licenseDeclared=EXPRESSION,
    packageFileName=text(),
    packageVerificationCode=record({"packageVerificationCodeValue": text("^[0-9a-f]{40}$")}),
    primaryPackagePurpose=one_of(PURPOSES),
    sourceInfo=text(),
    supplier=AGENT,
    versionInfo=text(),
)

FILE = record(
    {"SPDXID": IDENTIFIER, "fileName": text(r"^\./"), "checksums": some(CHECKSUM)},
    fileTypes=some(one_of("OTHER DOCUMENTATION IMAGE VIDEO ARCHIVE SPDX APPLICATION SOURCE BINARY TEXT AUDIO")),
    licenseConcluded=EXPRESSION,
)

LINKS = "DESCRIBES CONTAINS DEPENDS_ON STATIC_LINK DYNAMIC_LINK GENERATED_FROM BUILD_DEPENDENCY_OF RUNTIME_DEPENDENCY_OF"

RELATION = record({"spdxElementId": IDENTIFIER, "relatedSpdxElement": IDENTIFIER, "relationshipType": one_of(LINKS)})

OTHER_LICENCE = record({"licenseId": text("^LicenseRef-[A-Za-z0-9.-]+$"), "extractedText": text()}, name=text())

DOCUMENT = record(
    {
        "SPDXID": {"const": "SPDXRef-DOCUMENT"},
        "spdxVersion": {"const": "SPDX-2.3"},
        "dataLicense": {"const": "CC0-1.0"},
        "name": text(),
        "documentNamespace": text(r"^urn:uuid:[0-9a-f]{8}(-[0-9a-f]{4}){3}-[0-9a-f]{12}$"),
        "creationInfo": record({"created": text(r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ$"), "creators": some(AGENT)}),
        "packages": some(PACKAGE),
    },
    files=some(FILE),
    relationships=some(RELATION),
    hasExtractedLicensingInfos={"type": "array", "items": OTHER_LICENCE},
)


def check(document):
    """Fails an assertion, or raises jsonschema's error, if the document breaks a rule."""
    jsonschema.validate(document, DOCUMENT)
    ids = [entry["SPDXID"] for entry in [document, *document["packages"], *document.get("files", [])]]
    assert len(ids) == len(set(ids))
    related = document["relationships"]
    assert {link[end] for link in related for end in ("spdxElementId", "relatedSpdxElement")} <= set(ids)
    links = [tuple(sorted(link.items())) for link in related]
    assert len(links) == len(set(links))
    licences = "\n".join(entry.get("licenseConcluded", "") for entry in document["packages"] + document.get("files", []))
    named = {entry["licenseId"] for entry in document["hasExtractedLicensingInfos"]}
    assert set(re.findall(r"LicenseRef-[A-Za-z0-9.-]+", licences)) == named
    for package in document["packages"]:
        # Files of a package may be listed only with the code that is computed from all of them.
        assert package["filesAnalyzed"] == ("packageVerificationCode" in package)


def checksum(algorithm, data):
    """The checksum of bytes, as a document has it."""
    return {"algorithm": algorithm, "checksumValue": hashlib.new(algorithm, data).hexdigest()}


def links(document, kind):
    """The pairs of identifiers that are related in this way."""
    related = (link for link in document["relationships"] if link["relationshipType"] == kind)
    return [(link["spdxElementId"], link["relatedSpdxElement"]) for link in related]
