"""A Bill as a document of SPDX 2.3, in JSON."""

import hashlib
import json
import re
import time
import uuid
from urllib.parse import quote

from bill import COMPILED, LINKED
from licences import copyright_of, reference_to

NOBODY_SAYS = "NOASSERTION"
PROJECT_ID = "SPDXRef-Package-keyreap"
DOCUMENT_ID = "SPDXRef-DOCUMENT"
OWN_LICENCE = "MIT"
AUTHORS = "Organization: The Keyreap authors"
DISTRIBUTION = "Organization: Debian"


def document(bill, version, seconds):
    """The text of the document of a release's file: its version, and the time of its commit in seconds since 1970."""
    writer = Writer(bill, version)
    result = {
        "spdxVersion": "SPDX-2.3",
        "dataLicense": "CC0-1.0",
        "SPDXID": DOCUMENT_ID,
        "name": bill.path.name,
        "creationInfo": {
            "created": time.strftime("%Y-%m-%dT%H:%M:%SZ", time.gmtime(seconds)),
            "creators": [AUTHORS, "Tool: keyreap-release-" + version],
        },
        "packages": [writer.project(), *writer.libraries(), *writer.tools(), *writer.dependencies()],
        "files": writer.files(),
        "hasExtractedLicensingInfos": writer.licences(),
        "relationships": writer.relationships(),
    }
    # Any unique URI will do (SPDX 2.3, 6.5), and the contents give the same one each time.
    result["documentNamespace"] = uuid.uuid5(uuid.NAMESPACE_OID, json.dumps(result)).urn
    return json.dumps(result, indent=1, ensure_ascii=False) + "\n"


class Writer:
    def __init__(self, bill, version):
        self.bill = bill
        self.version = version
        self.ids = {file.name: "SPDXRef-File-%d" % number for number, file in enumerate(bill.files, 1)}

    def project(self):
        libraries = [library for library in self.bill.libraries() if self.contained(library)]
        return {
            "SPDXID": PROJECT_ID,
            "name": "keyreap",
            "versionInfo": self.version,
            "packageFileName": self.bill.path.name,
            "supplier": AUTHORS,
            "downloadLocation": NOBODY_SAYS,
            "filesAnalyzed": True,
            "packageVerificationCode": {"packageVerificationCodeValue": verification_code(self.bill.files)},
            "checksums": checksums(self.bill.path),
            "licenseConcluded": all_of(libraries),
            "licenseDeclared": OWN_LICENCE,
            "primaryPackagePurpose": "APPLICATION",
        }

    def contained(self, library):
        """Something of it is in a program."""
        return any({LINKED, COMPILED} & used.get(library, set()) for used in self.bill.uses.values())

    def libraries(self):
        for library in self.bill.libraries():
            entry = package_entry(library_id(library), library.name, library.package, "LIBRARY")
            entry |= {"licenseConcluded": library.licence, "licenseDeclared": library.licence}
            if archives := self.bill.archives.get(library):
                entry["comment"] = "Linked in: " + ", ".join(sorted(archives))
            yield entry

    def tools(self):
        for package in sorted(self.bill.tools, key=lambda package: package.name):
            yield package_entry(tool_id(package), package.name, package, "OTHER")

    def dependencies(self):
        for name, condition in self.bill.depends:
            entry = {
                "SPDXID": dependency_id(name),
                "name": name,
                "supplier": DISTRIBUTION,
                "downloadLocation": NOBODY_SAYS,
                "filesAnalyzed": False,
                "externalRefs": [reference("pkg:deb/debian/" + quote(name))],
            }
            yield entry | ({"comment": "Version " + condition} if condition else {})

    def files(self):
        return [
            {
                "SPDXID": self.ids[file.name],
                "fileName": "./" + file.name,
                "fileTypes": ["BINARY" if file.builds else "OTHER"],
                "checksums": [checksum("SHA1", file.sha1), checksum("SHA256", file.sha256)],
                "licenseConcluded": all_of(self.parts_of(file)),
            }
            for file in self.bill.files
        ]

    def parts_of(self, file):
        """The libraries that something is of in the file."""
        return [library for library, ways in self.bill.uses.get(file.name, {}).items() if {LINKED, COMPILED} & ways]

    def licences(self):
        """The copyright files that licences refer to."""
        packages = {reference_to(library.package): library.package for library in self.bill.libraries()}
        used = {name for library in self.bill.libraries() for name in re.findall(r"LicenseRef-[\w.-]+", library.licence)}
        return [
            {
                "licenseId": name,
                "name": "The copyright file of Debian's source package " + packages[name].source,
                "extractedText": copyright_of(packages[name]),
            }
            for name in sorted(used)
        ]

    def relationships(self):
        result = [relation(DOCUMENT_ID, "DESCRIBES", PROJECT_ID)]
        result += [relation(PROJECT_ID, "CONTAINS", self.ids[file.name]) for file in self.bill.files]
        for library in self.bill.libraries():
            kind = "CONTAINS" if self.contained(library) else "DEPENDS_ON"
            result.append(relation(PROJECT_ID, kind, library_id(library)))
        for name in sorted(self.bill.uses):
            for library, ways in sorted(self.bill.uses[name].items(), key=lambda item: library_id(item[0])):
                result += [relation(self.ids[name], way, library_id(library)) for way in sorted(ways)]
        for package in sorted(self.bill.tools, key=lambda package: package.name):
            result.append(relation(tool_id(package), "BUILD_DEPENDENCY_OF", PROJECT_ID))
        result += [relation(dependency_id(name), "RUNTIME_DEPENDENCY_OF", PROJECT_ID) for name, _ in self.bill.depends]
        return result


def package_entry(identifier, name, package, purpose):
    origin = "Debian source package %s %s" % (package.source, package.source_version)
    entry = {
        "SPDXID": identifier,
        "name": name,
        "versionInfo": package.version,
        "supplier": DISTRIBUTION,
        "downloadLocation": NOBODY_SAYS,
        "filesAnalyzed": False,
        "sourceInfo": origin + (", built using " + package.built_using if package.built_using else ""),
        "primaryPackagePurpose": purpose,
        "externalRefs": [reference(package_url(package))],
    }
    return entry | ({"homepage": package.homepage} if package.homepage else {})


def package_url(package):
    version = quote(package.version, safe=":~")
    return "pkg:deb/debian/%s@%s?arch=%s" % (quote(package.name), version, package.architecture)


def reference(locator):
    return {"referenceCategory": "PACKAGE-MANAGER", "referenceType": "purl", "referenceLocator": locator}


def identifier(kind, *names):
    """An identifier may have letters of ASCII, digits, dots and hyphens."""
    return "-".join(["SPDXRef", kind, *(re.sub(r"[^A-Za-z0-9.-]", "-", name.replace("+", "p")) for name in names)])


def library_id(library):
    return identifier("Library", library.name, library.package.name)


def tool_id(package):
    return identifier("Tool", package.name)


def dependency_id(name):
    return identifier("Dependency", name)


def relation(first, kind, second):
    return {"spdxElementId": first, "relationshipType": kind, "relatedSpdxElement": second}


def checksum(algorithm, value):
    return {"algorithm": algorithm, "checksumValue": value}


def checksums(path):
    data = path.read_bytes()
    return [checksum("SHA1", hashlib.sha1(data).hexdigest()), checksum("SHA256", hashlib.sha256(data).hexdigest())]


def verification_code(files):
    """The SHA-1 of the files' SHA-1s, sorted."""
    return hashlib.sha1("".join(sorted(file.sha1 for file in files)).encode()).hexdigest()


def all_of(libraries):
    """The licence of what has parts of these libraries."""
    expressions = {part for library in libraries for part in library.licence.split(" AND ")}
    return " AND ".join([OWN_LICENCE, *sorted(expressions - {OWN_LICENCE})])
