"""Outlook mail containers (TNEF streams such as winmail.dat, and .msg files) read into one
message model, with their exports."""

import datetime
import os
from typing import Any, Literal, Optional, Union

class Error(ValueError):
    """A file that could not be read or exported, with the reader's domain and code."""

    domain: str
    code: int
    description: str
    offset: Optional[int]
    file: Optional[str]
    def __init__(
        self,
        text: str,
        domain: str,
        code: int,
        description: str,
        offset: Optional[int] = ...,
        file: Optional[str] = ...,
        record: Optional[str] = ...,
    ) -> None: ...
    def info(self) -> Optional[dict[str, Any]]:
        """The error record `quillbox info --json` prints for the file."""

class Address:
    """A person: sender or recipient."""

    @property
    def name(self) -> Optional[str]: ...
    @property
    def address(self) -> Optional[str]: ...
    @property
    def type(self) -> Optional[str]: ...
    @property
    def email(self) -> Optional[str]: ...
    @property
    def smtp(self) -> Optional[str]: ...

class Bodies:
    """The bodies of a message, each None when absent."""

    @property
    def plain(self) -> Optional[str]: ...
    @property
    def html(self) -> Optional[bytes]: ...
    @property
    def rtf(self) -> Optional[bytes]: ...

class Attachment:
    """One attachment of a message."""

    @property
    def filename(self) -> Optional[str]: ...
    @property
    def mime_type(self) -> Optional[str]: ...
    @property
    def content_id(self) -> Optional[str]: ...
    @property
    def content_location(self) -> Optional[str]: ...
    @property
    def size(self) -> Optional[int]: ...
    @property
    def data(self) -> Optional[memoryview]:
        """A read-only view over the message's own buffer (no copy)."""
    @property
    def message(self) -> Optional[Message]:
        """The embedded message it holds."""

class Message:
    """A TNEF stream or .msg file read into one message model."""

    @property
    def format(self) -> Literal["tnef", "msg"]: ...
    @property
    def file(self) -> Optional[str]: ...
    @property
    def message_class(self) -> Optional[str]: ...
    @property
    def subject(self) -> Optional[str]: ...
    @property
    def date(self) -> Optional[datetime.datetime]:
        """When it was sent, timezone-aware (UTC)."""
    @property
    def sender(self) -> Optional[Address]: ...
    @property
    def to(self) -> list[Address]: ...
    @property
    def cc(self) -> list[Address]: ...
    @property
    def bcc(self) -> list[Address]: ...
    @property
    def tnef_correlator(self) -> Optional[str]: ...
    @property
    def encoding(self) -> str:
        """The IANA name of the code page its 8-bit strings were read in."""
    @property
    def bodies(self) -> Bodies: ...
    @property
    def attachments(self) -> list[Attachment]: ...
    @property
    def partial(self) -> bool:
        """True when something in the file could not be read and was left out."""
    @property
    def warnings(self) -> list[tuple[str, Optional[int]]]: ...
    def info(self) -> dict[str, Any]:
        """The record `quillbox info --json` prints for the file."""
    def info_json(self) -> str:
        """The line `quillbox info --json` prints for the file, without its newline."""
    def to_eml(self) -> bytes:
        """The whole message as one RFC 2822/MIME message."""
    def extract(
        self, directory: str, name: Optional[str] = None, original_bodies: bool = False
    ) -> list[str]:
        """Writes every export into a new folder of `directory`; the paths written."""
    def ics(self) -> Optional[bytes]:
        """The iCalendar file of a meeting, appointment or task."""
    def vcf(self, version: Literal["2.1", "4.0"] = "2.1") -> Optional[bytes]:
        """The vCard of a contact or distribution list."""
    def view(self, *, show_empty: bool = False, stylesheet: Optional[str] = None) -> bytes:
        """The message as one HTML page on its own: what `quillbox view FILE` writes."""

def open(
    source: Union[str, os.PathLike[str], bytes, bytearray, memoryview],
    name: Optional[str] = None,
) -> Message:
    """Reads a TNEF stream or .msg file (told apart by content) from a path or bytes."""
