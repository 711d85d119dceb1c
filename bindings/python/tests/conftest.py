import gc

import pytest

import zelutils

# Caches of the library (method tables, fixed atoms) stay until it stops.
COUNTED = ("instances", "instance_references", "shared_buffers")


def held():
    gc.collect()
    session = zelutils.default_session()
    session._enter()
    counts = session._host.live()
    return {name: counts[name] for name in COUNTED}


@pytest.fixture(autouse=True)
def nothing_is_left():
    """What a test has made is given back when its names are gone."""
    before = held()
    yield
    assert held() == before


@pytest.fixture(scope="session", autouse=True)
def nothing_is_left_at_the_end():
    yield
    zelutils.default_session().close()  # raises for whatever the host still counts
