"""``python3 -m kelvocalibrate``: the ``kelvo`` command."""

from .cli import main

raise SystemExit(main())
