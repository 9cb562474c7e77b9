"""TAVO surveys in Python: read and check them, look at them as arrays, tables and maps, write them.

>>> import tavo
>>> survey = tavo.read(b"DATABASE\\nPOINTS (PointNo,East,North)\\n1,10,20;\\nEND POINTS\\nEND DATABASE\\n")
>>> survey.points["East"]
array([10.])
>>> survey.findings
[]

A survey's records are NumPy arrays over its own memory; ``to_pandas`` and ``to_geopandas`` make
tables, ``edit`` a copy to change, :func:`build` writes text, :class:`Store` keeps records in a data
file, :mod:`tavo.batch` works through many files. All failures are :class:`Error`.
"""

from . import _tavo
from ._edit import Edit, build
from ._error import Error
from ._places import Remark, System
from ._records import Records
from ._schema import Block, Field, Schema, schema
from ._store import Repair, Store, StoredRecord, StoreFinding, repair, verify
from ._survey import Check, Finding, Survey, Units, check, read

__version__ = _tavo.version()
__all__ = ["Block", "Check", "Edit", "Error", "Field", "Finding", "Records", "Remark", "Repair",
           "Schema", "Store", "StoreFinding", "StoredRecord", "Survey", "System", "Units", "build",
           "check", "read", "repair", "schema", "verify"]
