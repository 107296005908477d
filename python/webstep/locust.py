"""A script folder as a Locust user, alone or over Locust workers.

A locustfile::

    from webstep.locust import ScriptUser

    class LibraryUser(ScriptUser):
        script = "examples/library-loans"
        connect_to = ["loans.example.org:443:10.0.0.5:8443"]
        insecure = True

``on_start`` runs the folder's init action, each task one iteration of its
run group, ``on_stop`` its end action; the C script runs on gevent's thread
pool, so the worker stays responsive while users wait for their servers.
What a user does is fired as Locust request events: every request with its
HTTP method as the request type and its step's name as the name, every
transaction that ends with a status as request type ``TRANSACTION``, and every
failed step as request type ``STEP`` (a failure with the step's message).
Locust's statistics, CSV files, web UI and HTML report show them.

Waiting: think time inside an action (qz_think_time, as the folder's
settings say) is waited on the thread running the script; the pacing
between iterations (the folder's [Iterations] settings) is the user's
``wait_time``, slept with gevent. A subclass that sets ``wait_time`` itself
replaces the pacing.

Compiling: each process (a worker, or a standalone Locust) opens the folder
and compiles its C once, at its first user; the folder must be present, at
the same path, on every machine that runs a worker.

User numbers, unique across the workers of a run: the n-th user slot of the
worker with Locust's worker index i (from 0) is user number
``(n - 1) * W + i + 1``, W being the number of workers the master announces
when the test starts (the larger of ``--expect-workers`` and the workers then
connected; 1 when standalone). Slots are reused: a new user takes the
lowest slot free in its process, so numbers stay dense as users come and go.
A worker whose index is W or more (it joined after the start, or replaced a
lost one) numbers its users from ``1_000_000 * (i - W + 1) + 1`` on and says
so in its log. The number is what the script's identity functions tell and
which block of unique parameter values the user owns: user number u owns
rows [(u-1)*B, u*B) of a Unique table parameter, B being the parameter's
block size or, when that is automatic, the table's rows divided by the
run's user count (the master's target user count, ``-u``, or the class's
``user_count``). So the rows of unique parameters are split between workers
without overlap.
"""

from __future__ import annotations

import logging
import os
from typing import Any, Callable, ClassVar, Dict, List, Mapping, Optional, Sequence, Union

import gevent
import gevent.lock
from locust import User, events, task
from locust.exception import StopUser
from locust.runners import MasterRunner

from . import (Event, Message, RequestEvent, Script, ScriptError, StepFailure, TransactionEvent,
               VirtualUser)

__all__ = ["ScriptUser", "TransactionFailed", "StepFailed", "RequestFailed", "user_number"]

logger = logging.getLogger("webstep")


def _fill_in_locust_version() -> None:
    """Debian's python3-locust 2.12.1 carries an empty version, and a master
    turns away workers that announce an empty one ("an old (pre 2.0)
    worker"). Both ends import this module through the locustfile before
    they connect, so an empty version is filled in the same on both."""
    import locust
    import locust.runners

    if locust.runners.__version__:
        return
    try:
        from importlib.metadata import version

        filled = version("locust") or "0.0.0"
    except Exception:  # no metadata: any version both ends share
        filled = "0.0.0"
    locust.__version__ = locust.runners.__version__ = filled


_fill_in_locust_version()

#: The number the master announces to its workers.
_WORKERS_OPTION = "webstep_workers"
_USERS_OPTION = "webstep_user_count"
#: Numbers of users of workers beyond the announced count start here.
_LATE_WORKER_BASE = 1_000_000


class TransactionFailed(Exception):
    """A transaction ended with the status "fail"."""


class StepFailed(Exception):
    """A step failed (its message says why)."""


class RequestFailed(Exception):
    """A request got no answer or a status of 400 or above."""


def user_number(slot: int, worker_index: int, workers: int) -> int:
    """The user number of local slot ``slot`` (from 1) on the worker with
    index ``worker_index`` (from 0) of a run announced with ``workers``
    workers: ``(slot - 1) * workers + worker_index + 1``, or for a worker
    beyond the announced count ``1_000_000 * (worker_index - workers + 1) +
    slot``."""
    if slot < 1 or worker_index < 0 or workers < 1:
        raise ValueError(
            f"user_number: expected slot >= 1, worker_index >= 0 and workers >= 1, "
            f"not {slot}, {worker_index}, {workers}")
    if worker_index < workers:
        return (slot - 1) * workers + worker_index + 1
    return _LATE_WORKER_BASE * (worker_index - workers + 1) + slot


class _Slots:
    """The local user slots of this process: the lowest free one is taken.
    Used by greenlets only, which do not switch inside these methods."""

    def __init__(self) -> None:
        self._taken: set = set()

    def take(self) -> int:
        slot = 1
        while slot in self._taken:
            slot += 1
        self._taken.add(slot)
        return slot

    def give_back(self, slot: int) -> None:
        self._taken.discard(slot)


_slots = _Slots()
_scripts: Dict[tuple, Union[Script, ScriptError]] = {}
_scripts_lock = gevent.lock.Semaphore()
_warned_late_worker = False
#: Greenlets waiting for a call on the thread pool (greenlets only).
_busy = 0


@events.test_start.add_listener
def _announce(environment, **_kwargs) -> None:
    """On the master: the number of workers and users of this run, sent to
    the workers with every spawn message (Locust passes options that are not
    its own along)."""
    runner = environment.runner
    options = environment.parsed_options
    if options is None or not isinstance(runner, MasterRunner):
        return
    workers = max(int(getattr(options, "expect_workers", 1) or 1), runner.worker_count, 1)
    setattr(options, _WORKERS_OPTION, workers)
    setattr(options, _USERS_OPTION, max(int(runner.target_user_count or 0), 1))


class ScriptUser(User):
    """A Locust user that replays a script folder (see the module's help).

    Class attributes a locustfile sets:

    - ``script``: the folder (required); a relative path is taken from the
      working directory.
    - ``connect_to``: "HOST:PORT:HOST2:PORT2" entries aiming the recorded
      hosts at the servers under test; ``resolve``: "HOST:PORT:ADDR" entries.
    - ``insecure``: do not check the servers' certificates.
    - ``compile``: run the folder's C (default) or its step calls in order.
    - ``params``: parameters (name to value) that override the folder's.
    - ``think_time``: "none", "recorded", "multiply=F" or "random=LO-HI"
      instead of the folder's setting.
    - ``attributes``: what the script's qz_get_attrib_string answers.
    - ``user_count``: the users sharing automatic unique blocks (default: the
      run's target user count).
    """

    abstract = True
    script: ClassVar[str] = ""
    connect_to: ClassVar[Sequence[str]] = ()
    resolve: ClassVar[Sequence[str]] = ()
    insecure: ClassVar[bool] = False
    compile: ClassVar[bool] = True
    params: ClassVar[Mapping[str, object]] = {}
    think_time: ClassVar[Optional[str]] = None
    attributes: ClassVar[Mapping[str, object]] = {}
    user_count: ClassVar[Optional[int]] = None

    def __init__(self, environment) -> None:
        super().__init__(environment)
        self.user: Optional[VirtualUser] = None
        self.user_number = 0
        self._slot = 0
        self._pending = None

    # -- Locust's hooks ---------------------------------------------------

    def wait_time(self) -> float:
        """The folder's pacing after the iteration that just ran."""
        return self.user.pacing() if self.user is not None else 0.0

    def on_start(self) -> None:
        try:
            script = self._script()
            self._slot = _slots.take()
            self.user_number = self._number(self._slot)
            script.user_count = self._user_count()
            number = self.user_number
            self.user = self._run(lambda: VirtualUser(
                script, number, params=dict(self.params), connect_to=list(self.connect_to),
                resolve=list(self.resolve), insecure=self.insecure,
                think_time=self.think_time, attributes=dict(self.attributes)))
            self._fire(self._run(self.user.run_init))
        except BaseException:
            # What was begun ends (on_stop may run again: it does nothing then).
            self.on_stop()
            raise
        if self.user.must_end:
            raise StopUser()

    @task
    def iteration(self) -> None:
        """One iteration of the folder's run group."""
        self._fire(self._run(self.user.run_iteration))
        if self.user.must_end:
            raise StopUser()

    def on_stop(self) -> None:
        user, self.user = self.user, None
        try:
            if user is not None:
                # A call cut off by a kill still runs on its thread: it is
                # asked to stop, and its events still count.
                if self._pending is not None:
                    user.request_stop()
                    try:
                        self._fire(self._pending.get())
                    except Exception as error:  # reported, the end still runs
                        logger.error("user %d: %s", self.user_number, error)
                    self._pending = None
                self._fire(self._run(user.run_end))
                if user.ending in ("crashed", "timed out"):
                    logger.error("user %d: %s", self.user_number, user.end_message)
        finally:
            if self._slot:
                _slots.give_back(self._slot)
                self._slot = 0

    # -- the parts --------------------------------------------------------

    def _run(self, function: Callable[[], Any]):
        """Runs function on gevent's thread pool, the greenlet waiting for
        it. A user's iteration holds its thread through its think time, so
        the pool grows to a thread for every user running at once."""
        global _busy
        pool = gevent.get_hub().threadpool
        _busy += 1
        try:
            if pool.maxsize < _busy + 1:
                pool.maxsize = _busy + 8
            self._pending = pool.spawn(function)
            try:
                result = self._pending.get()
            except gevent.GreenletExit:
                raise  # the call goes on: on_stop waits for it
            except BaseException:
                self._pending = None
                raise
            self._pending = None
            return result
        finally:
            _busy -= 1

    def _script(self) -> Script:
        """The folder, opened and compiled once per process."""
        if not self.script:
            raise ValueError(f"{type(self).__name__}: set the class attribute script to a "
                             "script folder")
        key = (os.path.abspath(self.script), bool(self.compile))
        with _scripts_lock:
            found = _scripts.get(key)
            if found is None:
                folder, compile_ = key
                try:
                    found = self._run(lambda: Script(folder, compile=compile_))
                    for message in found.messages:
                        logger.info("%s: %s", self.script, message)
                except ScriptError as error:
                    # Said once; every later user of the process fails the same.
                    logger.error("%s: %s", self.script, error)
                    found = error
                _scripts[key] = found
            if isinstance(found, ScriptError):
                raise found
            return found

    def _number(self, slot: int) -> int:
        global _warned_late_worker
        runner = self.environment.runner
        index = max(int(getattr(runner, "worker_index", 0) or 0), 0)
        workers = self._option(_WORKERS_OPTION) or self._option("expect_workers") or 1
        if index >= workers and not _warned_late_worker:
            _warned_late_worker = True
            logger.warning(
                "worker index %d is beyond the %d workers announced at the start: its users "
                "are numbered from %d on and own no rows of unique parameters", index,
                workers, user_number(1, index, workers))
        return user_number(slot, index, workers)

    def _user_count(self) -> int:
        if self.user_count:
            return int(self.user_count)
        runner = self.environment.runner
        return (self._option(_USERS_OPTION) or int(getattr(runner, "target_user_count", 0) or 0)
                or 1)

    def _option(self, name: str) -> int:
        options = self.environment.parsed_options
        try:
            return max(int(getattr(options, name, 0) or 0), 0)
        except (TypeError, ValueError):
            return 0

    def _fire(self, happened: List[Event]) -> None:
        fire = self.environment.events.request.fire
        for event in happened:
            if isinstance(event, RequestEvent):
                fire(request_type=event.method, name=event.name,
                     response_time=event.duration * 1000.0, response_length=event.bytes,
                     response=None, context={"user": self.user_number, "url": event.url},
                     exception=RequestFailed(event.error or f"HTTP {event.status}: {event.url}")
                     if event.failed else None, url=event.url)
            elif isinstance(event, TransactionEvent):
                if event.status == "stop":
                    continue  # ended without a status: neither passed nor failed
                fire(request_type="TRANSACTION", name=event.name,
                     response_time=event.duration * 1000.0, response_length=0, response=None,
                     context={"user": self.user_number},
                     exception=TransactionFailed(f"transaction {event.name} failed")
                     if event.status == "fail" else None)
            elif isinstance(event, StepFailure):
                fire(request_type="STEP", name=event.name, response_time=0, response_length=0,
                     response=None, context={"user": self.user_number},
                     exception=StepFailed(event.message))
            elif isinstance(event, Message):
                level = logging.WARNING if event.level in ("error", "warning") else logging.DEBUG
                logger.log(level, "user %d: %s: %s", self.user_number, event.level, event.text)
