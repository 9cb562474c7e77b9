"""A survey in a zone of UTM, for the tests of the export and the benchmark of GIS."""

# What stands in front of DATABASE, for str.format() with the zone.
HEAD = """HEADER
  UNITS
    LINEAR METRE
  END UNITS
END HEADER
DEFINITIONS
  ELLIPSOIDS (EllipsoidNo,Name,A,F)
    1,"GRS 1980",6378137.0,298.257222101;
  END ELLIPSOIDS
  MAPPRJ_PARAMS
    UTM (MapPrjNo,Name,ZoneNo,HEMISPHERE)
      1,"UTM",{zone},NORTH;
    END UTM
  END MAPPRJ_PARAMS
  PROJECTION_SETS (PrjSetNo,Name,EllipsoidNo,MapPrjNo)
    1,"UTM",1,1;
  END PROJECTION_SETS
END DEFINITIONS
"""
