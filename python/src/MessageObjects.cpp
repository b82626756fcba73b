// SPDX-License-Identifier: Apache-2.0
// Reading and exporting run with the GIL released, so Python threads working on different
// files use every core; the values handed to Python are made with the GIL held.
#include "MessageObjects.h"

#include <pybind11/stl.h>

#include <cerrno>
#include <cstring>
#include <unordered_map>

#include "Conversions.h"
#include "Errors.h"
#include "ReleasedGIL.h"
#include "api/ExportToFolder.h"
#include "api/ExportToRFC822.h"
#include "api/MessageInfo.h"
#include "api/MessageView.h"
#include "exporters/ICSExporter.h"
#include "exporters/VCFExporter.h"
#include "model/MessageDate.h"
#include "tnef/TNEFMessage.h"

namespace py = pybind11;

namespace qb::python {

namespace {

struct AddressObject {
    py::object name, address, type, email, smtp;
};

struct BodiesObject {
    py::object plain, html, rtf;
};

py::object addressObject(const std::shared_ptr<Address>& a) {
    if (!a) return py::none();
    return py::cast(AddressObject{text(a->displayName()), text(a->address()), text(a->type()),
                                  text(a->email()), text(a->smtpAddress())});
}

py::list addressList(const AddressList& list) {
    py::list out;
    for (const auto& a : list)
        out.append(addressObject(a));
    return out;
}

// The file name as records and error texts show it.
std::string shownName(const MessageObject& m) {
    return m.file.value_or("-");
}

// A record's keys come from a small fixed set, and many short values repeat from file to file
// (address types, classes, MIME types, code pages): each is made once as a Python str and
// kept for the interpreter's life, so a record allocates far fewer objects while the GIL is
// held. Bounded; guarded by the GIL.
PyObject* sharedText(const std::string& value) {
    constexpr size_t kLongest = 32, kMostKept = 4096;
    static auto* kept = new std::unordered_map<std::string, PyObject*>();
    if (value.size() > kLongest) return text(value).release().ptr();
    if (auto found = kept->find(value); found != kept->end()) return Py_NewRef(found->second);
    PyObject* made = text(value).release().ptr();
    if (kept->size() < kMostKept) kept->emplace(value, Py_NewRef(made));
    return made;
}

// The record as Python values, made directly rather than through a JSON text or pybind11's
// wrappers: this runs with the GIL held, so it is what Python threads wait on.
py::object toPython(const Dictionary& value) {
    switch (value.type()) {
        case Dictionary::value_t::object: {
            py::dict d;
            for (const auto& item : value.items()) {
                py::object key = py::reinterpret_steal<py::object>(sharedText(item.key()));
                py::object element = toPython(item.value());
                if (PyDict_SetItem(d.ptr(), key.ptr(), element.ptr()) < 0)
                    throw py::error_already_set();
            }
            return d;
        }
        case Dictionary::value_t::array: {
            py::list l(value.size());
            Py_ssize_t i = 0;
            for (const auto& element : value)
                PyList_SET_ITEM(l.ptr(), i++, toPython(element).release().ptr());
            return l;
        }
        case Dictionary::value_t::string:
            return py::reinterpret_steal<py::object>(
                sharedText(value.get_ref<const std::string&>()));
        case Dictionary::value_t::boolean:
            return py::bool_(value.get<bool>());
        case Dictionary::value_t::number_unsigned:
            return py::int_(value.get<uint64_t>());
        case Dictionary::value_t::number_integer:
            return py::int_(value.get<int64_t>());
        case Dictionary::value_t::number_float:
            return py::float_(value.get<double>());
        default:
            return py::none();
    }
}

// Made with the GIL released.
Dictionary infoRecordOf(const MessageObject& m) {
    Dictionary record = infoRecord(shownName(m), m.format, *m.message);
    if (!m.file) record["file"] = nullptr;
    return record;
}

py::dict info(const MessageObject& m) {
    auto record = std::make_shared<Dictionary>();
    {
        ReleasedGIL unlocked;
        *record = infoRecordOf(m);
    }
    auto result = py::reinterpret_steal<py::dict>(toPython(*record).release());
    releaseLater(std::move(record), 0);
    return result;
}

py::str infoJSON(const MessageObject& m) {
    std::string line;
    {
        ReleasedGIL unlocked;
        line = infoLine(infoRecordOf(m));
    }
    return py::reinterpret_steal<py::str>(text(line).release());
}

py::object toEml(const MessageObject& m) {
    std::optional<Expected<Bytes>> eml;
    {
        ReleasedGIL unlocked;
        eml.emplace(rfc822Message(m.message));
    }
    if (!*eml) raiseReadError(eml->error(), m.file);
    return bytesCopy(**eml);
}

py::list extract(const MessageObject& m, const std::string& directory,
                 const std::optional<std::string>& name, bool originalBodies) {
    std::optional<Expected<FolderExport>> result;
    int failedErrno = 0;
    std::string failedPath;
    {
        ReleasedGIL unlocked;
        FolderExportOptions options;
        options.originalBodies = originalBodies;
        options.fileFailed = [&](const std::string& path, int error) {
            if (failedErrno) return;
            failedErrno = error;
            failedPath = path;
        };
        const std::string folder = name     ? *name
                                   : m.file ? folderNameForInput(*m.file)
                                            : std::string("message");
        result.emplace(exportToFolder(m.message, directory, folder, options));
    }
    if (!*result) raiseReadError(result->error(), m.file);
    const FolderExport& done = **result;
    if (done.budgetExceeded)
        raiseReadError(
            ReadError{kExportErrorDomain, kExportErrorOverBudget,
                      "The exports of \"%@\" would pass the " +
                          std::to_string(*done.budgetExceeded) + " bytes this input may produce.",
                      std::nullopt},
            m.file);
    if (failedErrno)
        raiseReadError(ReadError{"POSIX", failedErrno,
                                 failedPath + ": " + std::strerror(failedErrno), std::nullopt},
                       m.file);
    py::list paths;
    for (const auto& file : done.files)
        paths.append(text(file.path));
    return paths;
}

py::object calendar(const MessageObject& m) {
    if (!ICSExporter::canHandleMessageClass(m.message->messageClass())) return py::none();
    std::optional<Bytes> data;
    {
        ReleasedGIL unlocked;
        if (auto exporter = ICSExporter::create(m.message, nullptr)) data = exporter->data();
    }
    return bytesCopy(data);
}

py::object card(const MessageObject& m, const std::string& version) {
    if (version != "2.1" && version != "4.0")
        throw py::value_error("version must be \"2.1\" or \"4.0\", not \"" + version + "\"");
    if (!VCFExporter::canHandleMessageClass(m.message->messageClass())) return py::none();
    std::optional<Bytes> data;
    {
        ReleasedGIL unlocked;
        const auto v = version == "4.0" ? VCardVersion::V40 : VCardVersion::V21;
        if (auto exporter = VCFExporter::create(m.message, v)) data = exporter->data();
    }
    if (data && data->empty()) data.reset();
    return bytesCopy(data);
}

// The page `quillbox view FILE` writes: pictures inlined, the desktop's icons, attachment links
// left as "quillbox://N", the alert of a message read only in part.
py::bytes view(const MessageObject& m, bool showEmpty,
               const std::optional<std::string>& stylesheet) {
    std::optional<std::string> page;
    {
        ReleasedGIL unlocked;
        MessageViewOptions options;
        options.showEmpty = showEmpty;
        options.stylesheetPath = stylesheet;
        options.alertHTML = partialReadAlertHTML(*m.message);
        page = messageViewHTML(TNEFMessageExporter::create(m.message, nullptr, ExportMode::Files),
                               options);
    }
    if (!page)
        raiseReadError(ReadError{kExportErrorDomain, kExportErrorNoView,
                                 "The body of \"%@\" could not be made into a view.", std::nullopt},
                       m.file);
    return bytesCopy(page->data(), page->size());
}

py::object bodies(const MessageObject& m) {
    MessageBodies b;
    {
        ReleasedGIL unlocked;
        b = messageBodies(*m.message);
    }
    return py::cast(BodiesObject{text(b.plain), bytesCopy(b.html), bytesCopy(b.rtf)});
}

py::list warnings(const MessageObject& m) {
    py::list out;
    for (const auto& w : m.message->report()->warnings())
        out.append(
            py::make_tuple(text(w.text), w.offset ? py::object(py::int_(*w.offset)) : py::none()));
    return out;
}

py::object nestedMessage(const AttachmentObject& a) {
    auto nested = a.attachment->nestedMessage();
    if (!nested) return py::none();
    const MessageFormat format =
        std::dynamic_pointer_cast<TNEFMessage>(nested) ? MessageFormat::TNEF : MessageFormat::MSG;
    return py::cast(MessageObject(std::move(nested), format, std::nullopt, 0));
}

std::string repr(const MessageObject& m) {
    const auto subject = m.message->subject();
    return "<quillbox.Message " + std::string(formatName(m.format)) + " " +
           py::repr(text(subject)).cast<std::string>() + ", " +
           std::to_string(m.message->attachments().size()) + " attachments>";
}

}  // namespace

MessageObject openSource(const py::object& source, const std::optional<std::string>& name) {
    // Held until the end, so the buffer stays exported (and a bytearray unresized) while it
    // is copied without the GIL; released with the GIL held.
    std::optional<py::buffer_info> view;
    std::string bytesPath;
    std::optional<std::string> file = name;
    if (PyObject_CheckBuffer(source.ptr()) && !py::isinstance<py::str>(source)) {
        view = py::buffer(source).request();
    } else if (PyUnicode_Check(source.ptr()) && PyUnicode_AsUTF8(source.ptr())) {
        // The common case, a str path, without a round through the os module.
        if (!file) file = source.cast<std::string>();
        py::object encoded =
            py::reinterpret_steal<py::object>(PyUnicode_EncodeFSDefault(source.ptr()));
        if (!encoded) throw py::error_already_set();
        bytesPath = encoded.cast<std::string>();
    } else {
        PyErr_Clear();  // a str that is not UTF-8 (surrogate escapes) goes the long way
        py::module_ os = py::module_::import("os");
        py::object path = os.attr("fspath")(source);
        bytesPath = os.attr("fsencode")(path).cast<std::string>();
        if (!file) file = py::str(os.attr("fsdecode")(path)).cast<std::string>();
    }
    // Read and parsed in one release of the GIL.
    std::optional<Expected<OpenedMessage>> opened;
    size_t inputSize = 0;
    {
        ReleasedGIL unlocked;
        // The caller may change its buffer later; the message keeps a copy of its own.
        Expected<Bytes> data =
            view ? Expected<Bytes>(
                       Bytes::copy(view->ptr, static_cast<size_t>(view->size * view->itemsize)))
                 : readInput(bytesPath);
        if (data) {
            inputSize = data->size();
            opened.emplace(openMessage(std::move(*data)));
        } else {
            opened.emplace(data.error());
        }
    }
    if (!*opened) raiseReadError(opened->error(), file);
    return MessageObject((*opened)->message, (*opened)->format, file, inputSize);
}

MessageObject::MessageObject(std::shared_ptr<OutlookMessage> message_, MessageFormat format_,
                             std::optional<std::string> file_, size_t inputSize_)
    : message(std::move(message_)),
      format(format_),
      file(std::move(file_)),
      inputSize(inputSize_) {}

MessageObject::~MessageObject() {
    releaseLater(std::move(message), inputSize);
}

AttachmentObject::AttachmentObject(std::shared_ptr<TNEFAttachment> attachment_,
                                   std::shared_ptr<OutlookMessage> owner_, size_t ownerInputSize_)
    : attachment(std::move(attachment_)),
      owner(std::move(owner_)),
      ownerInputSize(ownerInputSize_) {}

AttachmentObject::~AttachmentObject() {
    releaseLater(std::move(attachment), 0);
    releaseLater(std::move(owner), ownerInputSize);
}

void defineMessageTypes(py::module_& module) {
    py::class_<AddressObject>(module, "Address", "A person: sender or recipient.")
        .def_readonly("name", &AddressObject::name, "The display name, or None.")
        .def_readonly("address", &AddressObject::address,
                      "The address in its own type (an X.500 name for type EX), or None.")
        .def_readonly("type", &AddressObject::type, "The address type (SMTP, EX, ...), or None.")
        .def_readonly("email", &AddressObject::email,
                      "The person as a mail header shows them (name and address), or None.")
        .def_readonly("smtp", &AddressObject::smtp,
                      "The SMTP address where the message gives one, or None.")
        .def("__repr__", [](const AddressObject& a) {
            return "<quillbox.Address " + py::repr(a.name).cast<std::string>() + " " +
                   py::repr(a.email).cast<std::string>() + ">";
        });

    py::class_<BodiesObject>(module, "Bodies", "The bodies of a message, each None when absent.")
        .def_readonly("plain", &BodiesObject::plain, "The text body as str.")
        .def_readonly("html", &BodiesObject::html, "The HTML body as stored, as bytes.")
        .def_readonly("rtf", &BodiesObject::rtf, "The decompressed RTF body, as bytes.");

    py::class_<AttachmentObject>(module, "Attachment", "One attachment of a message.")
        .def_property_readonly(
            "filename", [](const AttachmentObject& a) { return text(a.attachment->filename()); },
            "The file name the attachment carries (long name first), or None.")
        .def_property_readonly(
            "mime_type", [](const AttachmentObject& a) { return text(a.attachment->mimeType()); },
            "The MIME type it declares, or None.")
        .def_property_readonly(
            "content_id", [](const AttachmentObject& a) { return text(a.attachment->contentId()); },
            "Its Content-ID (for cid: references of an HTML body), or None.")
        .def_property_readonly(
            "content_location",
            [](const AttachmentObject& a) { return text(a.attachment->contentLocation()); },
            "Its Content-Location, or None.")
        .def_property_readonly(
            "size",
            [](const AttachmentObject& a) -> py::object {
                auto data = a.attachment->rawData();
                return data ? py::object(py::int_(data->size())) : py::object(py::none());
            },
            "The length of its data in bytes, or None.")
        .def_property_readonly(
            "data",
            [](const AttachmentObject& a) -> py::object {
                auto data = a.attachment->rawData();
                return data ? bytesView(*data) : py::object(py::none());
            },
            "Its content as a read-only memoryview over the message's own buffer (no copy), "
            "or None.")
        .def_property_readonly("message", &nestedMessage,
                               "The embedded message it holds, as a Message, or None.")
        .def("__repr__", [](const AttachmentObject& a) {
            auto data = a.attachment->rawData();
            return "<quillbox.Attachment " +
                   py::repr(text(a.attachment->filename())).cast<std::string>() + " " +
                   std::to_string(data ? data->size() : 0) + " bytes>";
        });

    py::class_<MessageObject>(module, "Message",
                              "A TNEF stream or .msg file read into one message model.")
        .def_property_readonly(
            "format", [](const MessageObject& m) { return formatName(m.format); },
            "\"tnef\" or \"msg\".")
        .def_property_readonly(
            "file", [](const MessageObject& m) { return text(m.file); },
            "The path it was opened from (or the name given with bytes), or None.")
        .def_property_readonly(
            "message_class", [](const MessageObject& m) { return text(m.message->messageClass()); },
            "Its message class (IPM.Note, IPM.Appointment, ...), or None.")
        .def_property_readonly(
            "subject", [](const MessageObject& m) { return text(m.message->subject()); },
            "Its subject, or None.")
        .def_property_readonly(
            "date", [](const MessageObject& m) { return datetime(messageDate(*m.message)); },
            "When it was sent, as a datetime in UTC (a .msg: its submit time, else its delivery "
            "time), or None.")
        .def_property_readonly(
            "sender", [](const MessageObject& m) { return addressObject(m.message->sender()); },
            "The sender as an Address, or None.")
        .def_property_readonly(
            "to", [](const MessageObject& m) { return addressList(m.message->toRecipients()); },
            "The To recipients, a list of Address.")
        .def_property_readonly(
            "cc", [](const MessageObject& m) { return addressList(m.message->ccRecipients()); },
            "The Cc recipients, a list of Address.")
        .def_property_readonly(
            "bcc", [](const MessageObject& m) { return addressList(m.message->bccRecipients()); },
            "The Bcc recipients, a list of Address.")
        .def_property_readonly(
            "tnef_correlator",
            [](const MessageObject& m) { return text(m.message->tnefCorrelator()); },
            "The TNEF correlator key, or None.")
        .def_property_readonly(
            "encoding",
            [](const MessageObject& m) { return ianaNameForEncoding(m.message->encoding()); },
            "The IANA name of the code page its 8-bit strings were read in.")
        .def_property_readonly("bodies", &bodies, "Its bodies (plain, html, rtf) as Bodies.")
        .def_property_readonly(
            "attachments",
            [](const MessageObject& m) {
                py::list out;
                for (const auto& a : m.message->attachments())
                    out.append(py::cast(AttachmentObject(a, m.message, m.inputSize)));
                return out;
            },
            "Its attachments, a list of Attachment.")
        .def_property_readonly(
            "partial", [](const MessageObject& m) { return m.message->report()->partial(); },
            "True when something in the file could not be read and was left out.")
        .def_property_readonly("warnings", &warnings,
                               "What reading left out: a list of (text, offset or None).")
        .def("info", &info,
             "The record `quillbox info --json` prints for the file, as a dict (file, format, "
             "message, and partial/warnings when read only in part).")
        .def("info_json", &infoJSON,
             "The line `quillbox info --json` prints for the file, without its newline, as "
             "str. For JSON Lines: no dict is built, so it holds the GIL a fraction of the "
             "time info() and json.dumps do.")
        .def("to_eml", &toEml,
             "The whole message as one RFC 2822/MIME message (bytes); raises Error when it "
             "would pass the output budget.")
        .def("extract", &extract, py::arg("directory"), py::arg("name") = py::none(),
             py::arg("original_bodies") = false,
             "Writes every export (bodies, attachments, nested messages as .eml, calendar and "
             "card files, metadata.json, manifest.json) into a new folder in `directory` named "
             "`name` (default: the file's name without extension; numbered when taken) and "
             "returns the paths written. Raises Error when the folder cannot be made or a "
             "file cannot be written.")
        .def("ics", &calendar,
             "The iCalendar file of a meeting, appointment or task (bytes), or None for other "
             "items.")
        .def("vcf", &card, py::arg("version") = "2.1",
             "The vCard (\"2.1\" or \"4.0\") of a contact or distribution list (bytes), or "
             "None for other items and lists without a member with an SMTP address.")
        .def("view", &view, py::kw_only(), py::arg("show_empty") = false,
             py::arg("stylesheet") = py::none(),
             "The message as one HTML page that opens in any browser (bytes, UTF-8): the bytes "
             "`quillbox view FILE` writes. A header table, the body, its cid: pictures inlined "
             "as data: URIs, one link per attachment (\"quillbox://N\") with its type's icon, "
             "and above the headers what was left out of a message read only in part. "
             "`show_empty` shows placeholders for a missing sender, subject and recipients "
             "(--show-empty); `stylesheet` is a style sheet the page links to instead of "
             "embedding the built-in style (--stylesheet). Raises Error when the body gives no "
             "document to make a view of.")
        .def("__repr__", &repr);
}

}  // namespace qb::python
