"""Replay C-script load-test folders from Python, one virtual user at a time.

    import webstep

    script = webstep.Script("examples/library-loans")       # opened and compiled once
    user = webstep.VirtualUser(script, 1,
                               connect_to=["loans.example.org:443:127.0.0.1:8443"],
                               insecure=True)
    events = user.run_init()
    for _ in range(script.iterations):
        events += user.run_iteration()
        time.sleep(user.pacing())                          # or gevent.sleep
    events += user.run_end()

Each ``run_*`` call returns what the user did, in order, as event objects:
:class:`RequestEvent`, :class:`TransactionEvent`, :class:`StepFailure` and
:class:`Message` (frozen dataclasses; ``event.kind`` tells them apart). The
interpreter lock is released while the user runs (its C, its requests, its
think time), so other threads, or gevent's hub when the calls run on its
thread pool, go on meanwhile. ``webstep.locust`` makes a Locust user of a
folder.
"""

from __future__ import annotations

import os
from dataclasses import dataclass
from typing import Iterable, List, Mapping, Optional, Sequence, Union

from . import _webstep

__all__ = [
    "Event",
    "Message",
    "RequestEvent",
    "Script",
    "ScriptError",
    "StepFailure",
    "TransactionEvent",
    "VirtualUser",
]

#: A folder that cannot be opened, or C that does not compile (the message
#: holds the compiler's own messages).
ScriptError = _webstep.ScriptError
ScriptError.__module__ = "webstep"


@dataclass(frozen=True)
class RequestEvent:
    """One HTTP request the user sent and what came back.

    ``name`` is the step's name (its first argument, ``"home"`` for
    ``web_url("home", ...)``); every request of a step (redirects, frames,
    resources) carries it. ``status`` is 0 and ``error`` says why when no
    answer came; ``duration`` is the whole exchange in seconds, ``bytes`` the
    response as received (headers and body). ``transaction`` is the innermost
    open transaction or "".
    """

    name: str
    method: str
    url: str
    status: int
    duration: float
    bytes: int
    error: Optional[str]
    transaction: str
    iteration: int
    kind: str = "request"

    @property
    def failed(self) -> bool:
        """No answer, or a status of 400 or above."""
        return self.error is not None or self.status >= 400 or self.status == 0


@dataclass(frozen=True)
class TransactionEvent:
    """A transaction that ended: ``status`` is "pass", "fail" or "stop" (ended
    without a status); ``duration`` is its wall time in seconds, think time
    inside it included (``think_time`` says how much)."""

    name: str
    status: str
    duration: float
    think_time: float
    iteration: int
    parent: str
    kind: str = "transaction"


@dataclass(frozen=True)
class StepFailure:
    """A step that failed (a check not met, a link not found, no answer):
    ``name`` is the step's name, ``function`` its step function."""

    name: str
    function: str
    message: str
    kind: str = "step"


@dataclass(frozen=True)
class Message:
    """A message of the script or the user: ``level`` is "output", "error",
    "warning", "log", "message", "status", ... (as the script's
    qz_output_message, qz_error_message and so on)."""

    level: str
    text: str
    kind: str = "message"


Event = Union[RequestEvent, TransactionEvent, StepFailure, Message]

_KINDS = {
    "request": RequestEvent,
    "transaction": TransactionEvent,
    "step": StepFailure,
    "message": Message,
}


def _events(raw: Iterable[tuple]) -> List[Event]:
    return [_KINDS[item[0]](*item[1:]) for item in raw]


class Script:
    """A script folder opened, its parameters read and its C compiled, once.

    ``folder`` is a script folder as the recording tool saves it (or plain
    action files beside a settings file). With ``compile`` (the default) a
    folder with a description runs its own C, compiled with the system C
    compiler (``cc`` or ``$CC``); otherwise, and for a folder without a
    description, users replay the step calls of the action files in order.
    ``user_count`` is the number of users that share the automatic blocks of
    Unique table parameters (rows / user_count each; see :attr:`user_count`).

    Raises :class:`ScriptError` when the folder cannot be read or its C does
    not compile (with the compiler's messages). Any number of users, on any
    threads, may share one Script.
    """

    def __init__(self, folder: Union[str, os.PathLike], compile: bool = True,
                 user_count: int = 1) -> None:
        self._impl = _webstep.Script(os.fspath(folder), compile, user_count)

    @property
    def folder(self) -> str:
        """The folder as given."""
        return self._impl.folder

    @property
    def compiled(self) -> bool:
        """Users run the folder's compiled C (False: the step calls in order)."""
        return self._impl.compiled

    @property
    def messages(self) -> List[str]:
        """Notes and warnings about the folder and its compilation."""
        return self._impl.messages

    @property
    def iterations(self) -> int:
        """The folder's own number of iterations (its settings), at least 1."""
        return self._impl.iterations

    @property
    def actions(self) -> List[str]:
        """The folder's actions, in the order of its description."""
        return self._impl.actions

    @property
    def user_count(self) -> int:
        """Users sharing the automatic unique blocks: user number u (from 1)
        owns rows [(u-1)*B, u*B) of a Unique table parameter, B being its
        block size or, when that is automatic, the table's rows divided by
        this count. Set it before the users start."""
        return self._impl.user_count

    @user_count.setter
    def user_count(self, users: int) -> None:
        self._impl.user_count = users

    def __repr__(self) -> str:
        return f"webstep.Script({self.folder!r}, compiled={self.compiled})"


class VirtualUser:
    """One virtual user of a :class:`Script`, driven a piece at a time.

    ``user_id`` is the user's number (from 1): what the script's identity
    functions tell, and which block of unique parameter values it owns; two
    live users with the same number get the same values (a warning says so).
    ``params`` sets parameters (name to value) that override the folder's;
    ``connect_to`` ("HOST:PORT:HOST2:PORT2") and ``resolve``
    ("HOST:PORT:ADDR") aim recorded hosts elsewhere; ``insecure`` skips the
    check of the server's certificate; ``think_time`` replaces the folder's
    think-time setting ("none", "recorded", "multiply=F", "random=LO-HI" in
    per cent, the folder's cap kept); ``attributes`` answer the script's
    qz_get_attrib_string.

    Call :meth:`run_init` once, :meth:`run_iteration` for each iteration
    (waiting :meth:`pacing` seconds between them as the folder's settings
    say), then :meth:`run_end` once. The C script keeps one copy of its
    globals across these calls. Think time inside an action (qz_think_time)
    is waited inside the call; :meth:`request_stop` cuts it short. Calls of
    one user may come from different threads, one at a time (a second one
    waits for the first).
    """

    def __init__(
        self,
        script: Script,
        user_id: int,
        params: Optional[Mapping[str, object]] = None,
        connect_to: Optional[Union[str, Sequence[str]]] = None,
        resolve: Optional[Union[str, Sequence[str]]] = None,
        insecure: bool = False,
        think_time: Optional[str] = None,
        attributes: Optional[Mapping[str, object]] = None,
    ) -> None:
        if not isinstance(script, Script):
            raise TypeError(f"script: expected a webstep.Script, not {type(script).__name__}")
        if isinstance(user_id, bool) or not isinstance(user_id, int):
            raise TypeError(f"user_id: expected an int from 1 on, not {user_id!r}")
        self.script = script
        self._impl = _webstep.VirtualUser(script._impl, user_id, params, connect_to, resolve,
                                          insecure, think_time, attributes)

    def run_init(self) -> List[Event]:
        """Runs the init action (once, first) and returns what it did."""
        return _events(self._impl.run_init())

    def run_iteration(self) -> List[Event]:
        """Runs one iteration of the run group and returns what it did; an
        empty list once the user must end (see :attr:`must_end`)."""
        return _events(self._impl.run_iteration())

    def run_end(self) -> List[Event]:
        """Runs the end action (once, last; not after a crash of the script)
        and returns what it did."""
        return _events(self._impl.run_end())

    def pacing(self) -> float:
        """Seconds to wait before the next iteration, as the folder's pacing
        says for the iteration that just ran (0 for "as soon as possible").
        The caller waits them, so that gevent can sleep cooperatively."""
        return self._impl.pacing()

    def request_stop(self) -> None:
        """Asks the user to stop, from any thread: the call in progress ends
        after its current step (think time is cut short), no iteration
        begins, and run_end() still runs the end action whole."""
        self._impl.request_stop()

    @property
    def user_id(self) -> int:
        return self._impl.user_id

    @property
    def iteration(self) -> int:
        """Iterations begun so far."""
        return self._impl.iteration

    @property
    def last_iteration_failed(self) -> bool:
        """A step of the last iteration failed (or qz_exit with QZ_FAIL)."""
        return self._impl.last_iteration_failed

    @property
    def must_end(self) -> bool:
        """The user runs no more iterations: the script ended or aborted the
        user, it crashed, a parameter ran out of values, or a stop was
        asked. run_end() is what remains."""
        return self._impl.must_end

    @property
    def ending(self) -> Optional[str]:
        """After run_end(): "completed", "ended" (the script ended the user),
        "aborted", "crashed", "timed out" or "not run"; None before."""
        return self._impl.ending

    @property
    def end_message(self) -> str:
        """For a crash or a timeout: what happened and where."""
        return self._impl.end_message

    def __repr__(self) -> str:
        return f"webstep.VirtualUser(user_id={self.user_id}, iteration={self.iteration})"
