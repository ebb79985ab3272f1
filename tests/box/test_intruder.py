"""A hostile server tries what a server must not do. In the box none of it succeeds, and the next run has the bytes that it
always has. That the attempts are good ones is shown without a box, where they do succeed."""

import os
from functools import cache

import pytest
from attempts import ATTEMPTS, CEILINGS, ENDING, ENDS, EVERYBODY, HARMLESS, RESOURCES, SWAPS, possible_in
from runs import IN_THE_BOX, WITHOUT_A_BOX, Server, capture_good, run
from surroundings import PLAIN, PRIVILEGED, USERS

WHOLE = os.environ.get("KEYREAP_SAMPLE") == "1"

EVERY = [Server(kind, bitness, user) for kind in ("dll", "exe") for bitness in ("x64", "x86") for user in USERS]
# Every kind, every bitness and every user.
FEW = [Server("dll", "x64", PRIVILEGED), Server("exe", "x86", PRIVILEGED), Server("exe", "x64", PLAIN), Server("dll", "x86", PLAIN)]
SERVERS = EVERY if WHOLE else [server for server in FEW if server.user in USERS]

# Megabytes.
MEMORY = int(CEILINGS["KEYREAP_BOX_MEMORY"])

# The first is the one that is taken by default.
USUAL = [Server("dll", "x64", user) for user in USERS]


def paired(attempts):
    """Each attempt with each user or, in a part of the tests, with one of them in turn. What holds memory differs for them."""
    return [
        (attempt, server)
        for number, attempt in enumerate(attempts)
        for place, server in enumerate(USUAL)
        if WHOLE or attempt.ceiling == "KEYREAP_BOX_MEMORY" or place == number % len(USUAL)
    ]


def title(value):
    return value.name.replace(" ", "-") if hasattr(value, "name") else str(value)


@pytest.fixture(scope="module", autouse=True)
def before():
    """The bytes before anything was tried. Makes what is missing, so that no later run says so."""
    return {user: capture_good(user, WITHOUT_A_BOX) for user in USERS}


@cache
def tried(server, sandbox):
    return run(server, possible_in, sandbox)


@pytest.mark.parametrize("server", SERVERS, ids=str)
def test_nothing_succeeds_in_the_box(server):
    outcome = tried(server, IN_THE_BOX)
    assert (outcome.status, outcome.errors) == (0, "")
    assert outcome.breaches == {}


@pytest.mark.parametrize("server", SERVERS, ids=str)
def test_every_attempt_is_made(server):
    answers = tried(server, IN_THE_BOX).results
    assert sorted(answers) == list(range(1, len(possible_in(tried(server, IN_THE_BOX).places)) + 1))
    assert [answer for answer in answers.values() if not answer.startswith(("done", "refused"))] == []


@pytest.mark.parametrize("server", SERVERS, ids=str)
def test_what_every_server_may_do_succeeds_in_the_box(server):
    """Otherwise the attempts could fail for another reason than the box."""
    outcome = run(server, lambda _: HARMLESS)
    assert list(outcome.breaches) == [attempt.name for attempt in HARMLESS], outcome.results


@pytest.mark.parametrize("server", SERVERS, ids=str)
def test_the_next_run_has_its_bytes(server, before):
    tried(server, IN_THE_BOX)
    assert capture_good(server.user) == before[server.user]


@pytest.mark.parametrize("server", USUAL, ids=str)
def test_what_a_box_refuses_succeeds_without_one(server):
    outcome = tried(server, WITHOUT_A_BOX)
    assert outcome.status == 0, outcome.errors
    expected = {attempt.name for attempt in possible_in(outcome.places) if server.user in attempt.outside}
    assert expected - set(outcome.breaches) == set()


def test_an_attempt_that_fails_without_a_box_has_a_reason():
    assert [attempt.name for attempt in ATTEMPTS + RESOURCES if attempt.outside != EVERYBODY and not attempt.reason] == []


@pytest.mark.parametrize("attempt, server", paired(RESOURCES), ids=title)
def test_no_server_takes_more_than_the_ceilings(attempt, server, before):
    """The attempt fails, or ends the run, which then says so."""
    outcome = run(server, lambda _: [attempt], variables={attempt.ceiling: CEILINGS[attempt.ceiling]})
    assert outcome.errors if outcome.status != 0 else outcome.results[1].startswith("refused")
    assert outcome.most < MEMORY * 2
    assert (outcome.is_ended, outcome.left) == (True, [])
    assert not WHOLE or capture_good(server.user) == before[server.user]


@pytest.mark.parametrize("server", USUAL[:1], ids=str)
def test_a_server_takes_more_without_a_box(server):
    attempts = [attempt for attempt in RESOURCES if attempt.outside]
    outcome = run(server, lambda _: attempts, WITHOUT_A_BOX, CEILINGS)
    assert set(outcome.breaches) == {attempt.name for attempt in attempts}
    assert outcome.most > MEMORY * 2


@pytest.mark.parametrize("attempt, server", paired(ENDS), ids=title)
def test_nothing_outlives_the_run(attempt, server, before):
    outcome = run(server, lambda _: [attempt])
    assert (outcome.status, outcome.errors, outcome.is_ended, outcome.left) == (0, "", True, [])
    assert outcome.results[1].startswith("done")
    assert not WHOLE or capture_good(server.user) == before[server.user]


@pytest.mark.parametrize("user", USERS)
def test_the_run_after_all_of_these_has_its_bytes(user, before):
    assert capture_good(user) == before[user]


@pytest.mark.parametrize("attempt", ENDS if WHOLE else ENDS[1:3], ids=title)
def test_processes_outlive_a_run_without_a_box(attempt):
    assert run(USUAL[0], lambda _: [attempt], WITHOUT_A_BOX, seconds=8).left != []


@pytest.mark.parametrize("attempt, server", paired(SWAPS), ids=title)
def test_the_result_is_what_the_run_wrote(attempt, server):
    outcome = run(server, lambda _: [attempt])
    assert (outcome.status, outcome.errors, outcome.is_whole, outcome.is_ended, outcome.left) == (0, "", True, True, [])
    assert outcome.results[1].startswith("done")
    assert outcome.mode & 0o6000 == 0


@pytest.mark.parametrize("server", USUAL, ids=str)
def test_a_run_that_the_server_ends_leaves_no_program(server):
    assert run(server, lambda _: ENDING).breaches == {}


@pytest.mark.parametrize("server", USUAL, ids=str)
def test_a_run_that_the_server_ends_leaves_one_without_a_box(server):
    assert list(run(server, lambda _: ENDING, WITHOUT_A_BOX).breaches) == [ENDING[0].name]


def test_a_result_is_replaced_without_a_box():
    assert not run(USUAL[0], lambda _: SWAPS[:1], WITHOUT_A_BOX).is_whole


def test_a_result_becomes_a_program_without_a_box():
    assert run(USUAL[0], lambda _: SWAPS[2:], WITHOUT_A_BOX).mode & 0o6000 != 0
